import QtQuick
import QtTest
import TarqLinux

WindowTestCase {
    id: testCase

    // 6 May 2024, 15:04 in the tests' time zone.
    readonly property real newest: new Date(2024, 4, 6, 15, 4).getTime()
    property HistoryRepository history: null

    name: "HistoryWindow"
    document: Component {
        HistoryWindow {}
    }

    SignalSpy {
        id: logouts

        target: fixture.overlay
        signalName: "logoutRequested"
    }

    SignalSpy {
        id: changes

        target: testCase.history
        signalName: "historyChanged"
    }

    function init() {
        failOnWarning(/./);
        fixture.clearClipboard();
        fixture.setUserEmail("anna@example.org");
        fixture.openedUrls = [];
        logouts.clear();
    }

    function openWith(texts: var) {
        history = fixture.makeHistory(texts, testCase.newest);
        open({historyRepository: history, overlayStateModel: fixture.overlay});
        changes.clear();
        activate();
    }

    function list(): Item {
        return item("list");
    }

    // The cards that are on the screen, from top to bottom.
    function cards(): var {
        list().forceLayout();
        const found = [];
        for (let i = 0; i < list().count; ++i) {
            const card = list().itemAtIndex(i);
            if (card !== null && card.y + card.height > list().contentY
                    && card.y < list().contentY + list().height) {
                found.push(card);
            }
        }
        return found;
    }

    function shownTexts(): var {
        return cards().map(card => card.modelData.text);
    }

    function type(text: string) {
        item("searchField").forceActiveFocus();
        for (const character of text) {
            keyClick(character);
        }
    }

    function labelWidth(button: Item): real {
        return Math.ceil(textItems(button)[0].implicitWidth);
    }

    function manyTexts(count: int): var {
        return Array.from({length: count}, (value, i) => "Transcript number " + i);
    }

    function test_frame() {
        history = fixture.makeHistory([], newest);
        subject = document.createObject(null, {
            historyRepository: history,
            overlayStateModel: fixture.overlay
        });
        verify(!subject.visible);
        verifyFrame("Tarq", 760, 500);
        compare([subject.minimumWidth, subject.minimumHeight], [760, 500]);
        verify(subject.flags & Qt.FramelessWindowHint);
        compare(item("leftPanel").width, 0);
        subject.show();
        tryVerify(() => subject.visible && subject.active);
        tryCompare(item("leftPanel"), "width", 228);
    }

    function test_emptyHistory() {
        openWith([]);
        verify(item("emptyState").visible);
        for (const name of ["searchBar", "clearButton", "confirmButton", "statusLine", "noMatches",
                            "list"]) {
            verify(!item(name).visible, name);
        }
        compare(item("subtitle").text, "");
        compare(texts(), ["Tarq", "A", "anna@example.org", "\u2197", "Website", "?", "Help", "Sign Out",
                          "Quit Tarq", Deployment.websiteDomain, "History", "\u{1F399}",
                          "No transcripts yet", "Click the floating bubble and speak", "\u2715"]);
        verifyNothingIsCutOff();
        verify(fixture.takePicture(subject, "history-empty"));
    }

    function test_subtitle_data() {
        return [
            {tag: "one", texts: ["a"], subtitle: "1 transcript"},
            {tag: "two", texts: ["a", "b"], subtitle: "2 transcripts"},
            {tag: "hundred", texts: manyTexts(100), subtitle: "100 transcripts"}
        ];
    }

    function test_subtitle(data) {
        openWith(data.texts);
        compare(item("subtitle").text, data.subtitle);
        verify(item("searchBar").visible);
        verify(item("clearButton").visible);
        verify(!item("emptyState").visible);
        verify(fixture.takePicture(subject, "history-" + data.tag));
    }

    function test_firstTranscriptFillsThePage() {
        openWith([]);
        fixture.addTranscript("Hello");
        compare(shownTexts(), ["Hello"]);
        verify(item("searchBar").visible);
        verify(!item("emptyState").visible);
    }

    function test_cardShowsDateAndText() {
        openWith(["Hello there", "Second"]);
        compare(shownTexts(), ["Hello there", "Second"]);
        const card = cards()[0];
        const when = new Date(newest);
        compare(findChild(card, "dateLine").text,
                Qt.locale().standaloneMonthName(4, Locale.ShortFormat) + " 6, 2024  3:04 "
                + (Qt.locale().pmText || "PM"));
        compare(findChild(card, "transcript").text, "Hello there");
        compare(card.width, list().width);
        compare(card.height, card.contentItem.implicitHeight + 28);
        compare(cards()[1].y, card.height + 8);
        verifyNothingIsCutOff();
        verifyControlsHaveNames();
    }

    function test_longTranscriptIsCutAfterFourLines() {
        const spoken = "word ".repeat(200).trim();
        openWith([spoken]);
        const transcript = findChild(cards()[0], "transcript");
        compare(transcript.lineCount, 4);
        verify(transcript.truncated);
        mouseClick(findChild(cards()[0], "copyButton"));
        compare(fixture.clipboard(), spoken);
        verify(fixture.takePicture(subject, "history-long"));
    }

    function test_markupIsShownAsItIs() {
        openWith(["<b>bold</b> &amp; <img src='http://a.example/x.png'>"]);
        compare(findChild(cards()[0], "transcript").textFormat, Text.PlainText);
        verify(fixture.takePicture(subject, "history-markup"));
    }

    function test_copyButtonCopiesOnce() {
        openWith(["first", "second"]);
        mouseClick(findChild(cards()[1], "copyButton"));
        compare(fixture.clipboard(), "second");
        compare(changes.count, 0);
    }

    function test_clickOnTheCardCopies() {
        openWith(["first", "second"]);
        mouseClick(findChild(cards()[1], "transcript"));
        compare(fixture.clipboard(), "second");
    }

    function test_clickOnACardThatIsHalfVisible() {
        openWith(manyTexts(20));
        const last = cards().pop();
        verify(last.y + last.height > list().height);
        mouseClick(last, 30, 5);
        compare(fixture.clipboard(), last.modelData.text);
        verify(!last.visualFocus);
        compare(list().contentY, 0);
    }

    function test_deleteIsImmediateAndCopiesNothing() {
        openWith(["first", "second"]);
        mouseClick(findChild(cards()[0], "deleteButton"));
        compare(shownTexts(), ["second"]);
        compare(changes.count, 1);
        compare(fixture.clipboard(), "");
    }

    function test_searchFiltersWithEachKey() {
        openWith(["apple pie", "Banana bread", "cherry"]);
        type("a");
        compare(subject.searchText, "a");
        compare(shownTexts(), ["apple pie", "Banana bread"]);
        type("N");
        compare(shownTexts(), ["Banana bread"]);
        verify(fixture.takePicture(subject, "history-search"));
        keyClick(Qt.Key_Backspace);
        keyClick(Qt.Key_Backspace);
        compare(shownTexts(), ["apple pie", "Banana bread", "cherry"]);
    }

    function test_searchWithoutAMatch() {
        openWith(["apple"]);
        type("<b>X ");
        verify(item("noMatches").visible);
        verify(!list().visible);
        verify(item("searchBar").visible);
        compare(textItems(item("noMatches")).map(text => text.text), ["No matches", 'for "<b>X "']);
        verify(fixture.takePicture(subject, "history-no-match"));
    }

    function test_deletedEntryStaysUnderAFilter() {
        openWith(["apple", "apple pie", "cherry"]);
        type("apple");
        mouseClick(findChild(cards()[0], "deleteButton"));
        compare(changes.count, 1);
        compare(shownTexts(), ["apple", "apple pie"]);
        compare(item("subtitle").text, "2 transcripts");
        type(" ");
        compare(shownTexts(), ["apple pie"]);
    }

    function test_newEntryStaysAwayUnderAFilter() {
        openWith(["apple"]);
        type("a");
        fixture.addTranscript("another");
        compare(shownTexts(), ["apple"]);
        compare(item("subtitle").text, "2 transcripts");
    }

    function test_deletingKeepsThePlaceInTheList() {
        openWith(manyTexts(100));
        list().positionViewAtIndex(50, ListView.Beginning);
        compare(shownTexts()[0], "Transcript number 50");
        mouseClick(findChild(cards()[1], "deleteButton"));
        compare(shownTexts().slice(0, 2), ["Transcript number 50", "Transcript number 52"]);
    }

    function test_searchStartsAtTheTop() {
        openWith(manyTexts(100));
        list().positionViewAtIndex(50, ListView.Beginning);
        type("number 9");
        compare(shownTexts()[0], "Transcript number 9");
        compare(list().contentY, list().originY);
    }

    function test_newEntryShowsAtTheTop() {
        openWith(manyTexts(100));
        fixture.addTranscript("The newest");
        compare(shownTexts()[0], "The newest");
        compare(list().contentY, list().originY);
    }

    function test_clearAllAsksFirst() {
        openWith(["a", "b"]);
        mouseClick(item("clearButton"));
        verify(subject.showClearConfirm);
        verify(!item("clearButton").visible);
        verify(item("confirmButton").visible);
        verify(item("cancelButton").visible);
        compare(changes.count, 0);
        verify(fixture.takePicture(subject, "history-confirm"));
        mouseClick(item("cancelButton"));
        verify(!subject.showClearConfirm);
        verify(item("clearButton").visible);
        compare(history.count, 2);
        mouseClick(item("clearButton"));
        mouseClick(item("confirmButton"));
        verify(!subject.showClearConfirm);
        compare(history.count, 0);
        verify(item("emptyState").visible);
        verify(!item("clearButton").visible);
    }

    function test_confirmationOutlivesTheLastEntry() {
        openWith(["a"]);
        mouseClick(item("clearButton"));
        mouseClick(findChild(cards()[0], "deleteButton"));
        compare(history.count, 0);
        verify(item("confirmButton").visible);
        changes.clear();
        mouseClick(item("confirmButton"));
        verify(!item("confirmButton").visible);
        compare(changes.count, 0);
    }

    function test_export_data() {
        return [
            {tag: "json", button: "jsonButton", path: /tarq-history-\d{8}-\d{6}\.json$/,
             content: /"text": "Hello"/},
            {tag: "txt", button: "txtButton", path: /tarq-history-\d{8}-\d{6}\.txt$/,
             content: /^\[2024-05-06T15:04:00\] Hello\n\n$/}
        ];
    }

    function test_export(data) {
        openWith(["Hello"]);
        verify(!item("statusLine").visible);
        mouseClick(item(data.button));
        verify(subject.exportStatus.startsWith("Saved to /"));
        verify(item("statusLine").visible);
        compare(item("statusLine").text, subject.exportStatus);
        const path = subject.exportStatus.slice("Saved to ".length);
        verify(data.path.test(path), path);
        verify(data.content.test(fixture.readFile(path)));
        verify(fixture.takePicture(subject, "history-exported"));
    }

    function test_exportStatusGoesAndIsRestarted() {
        openWith(["Hello"]);
        mouseClick(item("jsonButton"));
        wait(2500);
        mouseClick(item("txtButton"));
        verify(subject.exportStatus.endsWith(".txt"));
        const restarted = Date.now();
        tryCompare(subject, "exportStatus", "", 8000);
        // Coarse timers may be early by a twentieth.
        verify(Date.now() - restarted >= 4750);
        verify(!item("statusLine").visible);
    }

    function test_exportFails() {
        fixture.setDownloadsWritable(false);
        openWith(["Hello"]);
        mouseClick(item("jsonButton"));
        compare(item("statusLine").text, "Export failed");
        fixture.setDownloadsWritable(true);
    }

    function test_user_data() {
        return [
            {tag: "somebody", email: "anna@example.org", letter: "A", line: "anna@example.org"},
            {tag: "nobody", email: "", letter: "?", line: "Not signed in"}
        ];
    }

    function test_user(data) {
        fixture.setUserEmail(data.email);
        openWith([]);
        compare(item("avatarLetter").text, data.letter);
        compare(item("emailLine").text, data.line);
        compare(item("emailLine").textFormat, Text.PlainText);
        fixture.setUserEmail("zoe@example.org");
        compare(item("avatarLetter").text, "Z");
    }

    function test_links() {
        openWith([]);
        mouseClick(item("websiteLink"));
        mouseClick(item("helpLink"));
        compare(fixture.openedUrls, [Deployment.websiteUrl + "/releases/tarq",
                                     Deployment.websiteUrl + "/releases/tarq/help"]);
    }

    Connections {
        property bool visibleAtLogout: true

        id: logoutWatcher

        target: fixture.overlay

        function onLogoutRequested() {
            visibleAtLogout = testCase.subject?.visible ?? true;
        }
    }

    function test_signOutHidesFirst() {
        openWith([]);
        mouseClick(item("signOutButton"));
        compare(logouts.count, 1);
        verify(!logoutWatcher.visibleAtLogout);
        verify(!subject.visible);
    }

    function test_quit() {
        openWith([]);
        const quits = fixture.quits;
        fixture.expectQuit();
        mouseClick(item("quitButton"));
        compare(fixture.quits, quits + 1);
    }

    function test_closingOnlyHides_data() {
        return [{tag: "close button"}, {tag: "close request"}];
    }

    function test_closingOnlyHides(data) {
        openWith(["apple"]);
        type("a");
        mouseClick(item("jsonButton"));
        mouseClick(item("clearButton"));
        if (data.tag === "close button") {
            mouseClick(item("closeButton"));
        } else {
            verify(!subject.close()); // refused
        }
        verify(!subject.visible);
        compare(logouts.count, 0);
        subject.show();
        tryVerify(() => subject.visible);
        compare(subject.searchText, "a");
        verify(subject.exportStatus !== "");
        verify(subject.showClearConfirm);
    }

    function test_lookOfTheHeaderButtons() {
        openWith(["a"]);
        const clear = item("clearButton");
        compare([clear.height, clear.radius], [36, 12]);
        verifyButtonColors(clear, {fill: "#16FFFFFF", stroke: "#22FFFFFF", ink: "#B3C0D6"},
                           {fill: "#1FFF6B6B", stroke: "#40FF6B6B", ink: "#FF8888"},
                           {fill: "#30FF6B6B"});
        subject.showClearConfirm = true;
        const confirm = item("confirmButton");
        tryVerify(() => confirm.width >= 96);
        compare([confirm.height, confirm.radius, confirm.background.border.width], [36, 12, 0]);
        verify(confirm.width >= labelWidth(confirm) + 28);
        verifyButtonColors(confirm, {fill: "#D04545", ink: "#FFFFFF"}, {fill: "#E85A5A"},
                           {fill: "#FF6B6B"});
        const cancel = item("cancelButton");
        compare([cancel.height, cancel.radius], [36, 12]);
        verify(cancel.width >= 80);
        verifyButtonColors(cancel, {fill: "#00000000", stroke: "#22FFFFFF", ink: "#B3C0D6"},
                           {fill: "#1AFFFFFF"}, {fill: "#22FFFFFF"});
        verify(subject.showClearConfirm);
    }

    function test_lookOfACard() {
        openWith(["a"]);
        const card = cards()[0];
        compare(card.radius, 12);
        tryColor(() => card.background.color, "#08FFFFFF");
        tryColor(() => card.background.border.color, "#0CFFFFFF");
        hover(card);
        tryColor(() => card.background.color, "#12FFFFFF");
        tryColor(() => card.background.border.color, "#1AFFFFFF");
        const copy = findChild(card, "copyButton");
        compare([copy.height, copy.radius, copy.width], [28, 8, labelWidth(copy) + 20]);
        verifyButtonColors(copy, {fill: "#0EFFFFFF", ink: "#B3C0D6"},
                           {fill: "#1A8FE9FF", stroke: "#408FE9FF", ink: "#8FE9FF"},
                           {fill: "#308FE9FF"});
        const remove = findChild(card, "deleteButton");
        compare([remove.height, remove.radius, remove.width],
                [28, 8, labelWidth(remove) + 20]);
        verifyButtonColors(remove, {fill: "#0EFFFFFF", ink: "#B3C0D6"},
                           {fill: "#1AFF6B6B", stroke: "#40FF6B6B", ink: "#FF8888"},
                           {fill: "#30FF6B6B"});
        mousePress(copy);
        tryCompare(copy, "scale", 0.96);
        mouseMove(copy, -50, 60, -1, Qt.LeftButton);
        mouseRelease(copy, -50, 60);
        compare(history.count, 1);
    }

    function test_lookOfTheSideButtons() {
        openWith([]);
        const website = item("websiteLink");
        compare([website.height, website.radius], [36, 10]);
        verifyButtonColors(website, {fill: "#00000000", ink: "#5A6580"},
                           {fill: "#10FFFFFF", ink: "#8FE9FF"}, {});
        verifyButtonColors(item("signOutButton"), {fill: "#00000000", ink: "#FF6B6B"},
                           {fill: "#14FF6B6B", ink: "#FF8A8A"}, {fill: "#26FF6B6B"});
        verifyButtonColors(item("quitButton"), {fill: "#00000000", ink: "#5A6580"},
                           {fill: "#10FFFFFF", ink: "#B3C0D6"}, {});
        verify(subject.visible);
    }

    function test_lookOfTheSearchBar() {
        openWith(["a"]);
        const field = item("searchField");
        compare([field.height, field.background.radius], [36, 10]);
        compare(String(field.placeholderTextColor), "#4a5470");
        tryColor(() => field.background.border.color, "#1AFFFFFF");
        tryColor(() => field.background.color, "#10FFFFFF");
        mouseClick(field);
        tryColor(() => field.background.border.color, "#22FFFFFF");
        tryColor(() => field.background.color, "#10FFFFFF");
        const json = item("jsonButton");
        compare([json.height, json.width], [36, labelWidth(json) + 20]);
    }

    function test_drags_data() {
        return [
            {tag: "left panel", x: 60, y: 250, drags: true},
            {tag: "a button of the left panel", x: 60, y: 440, drags: false},
            {tag: "top of the right panel", x: 500, y: 20, drags: true},
            {tag: "below the strip", x: 500, y: 90, drags: false}
        ];
    }

    function test_drags(data) {
        openWith([]);
        verifyDrags(data.x, data.y, data.drags);
    }

    function test_keyboardReachesEveryControl() {
        openWith(["a", "b"]);
        const reached = [];
        for (let i = 0; i < 11; ++i) {
            keyClick(Qt.Key_Tab);
            reached.push(subject.activeFocusItem.objectName || subject.activeFocusItem.Accessible.name);
        }
        compare(reached, ["websiteLink", "helpLink", "signOutButton", "quitButton", "clearButton",
                          "searchField", "jsonButton", "txtButton", "a", "copyButton", "deleteButton"]);
        verify(fixture.takePicture(subject, "history-focus"));
        keyClick(Qt.Key_Tab);
        compare(subject.activeFocusItem.objectName, "closeButton");
    }

    function test_keyboardMovesThroughTheCards() {
        openWith(manyTexts(100));
        item("txtButton").forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Tab);
        for (let i = 0; i < 12; ++i) {
            keyClick(Qt.Key_Down);
        }
        const card = subject.activeFocusItem;
        compare(card.modelData.text, "Transcript number 12");
        verify(card.visualFocus);
        const top = card.mapToItem(list(), 0, 0).y;
        verify(top >= 0 && top + card.height <= list().height);
        keyClick(Qt.Key_Space);
        compare(fixture.clipboard(), "Transcript number 12");
        keyClick(Qt.Key_Up);
        compare(subject.activeFocusItem.modelData.text, "Transcript number 11");
        verify(fixture.takePicture(subject, "history-card-focus"));
    }

    function test_keyboardGoesOnAfterADelete() {
        openWith(["a", "b", "c"]);
        item("txtButton").forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Tab);
        keyClick(Qt.Key_Down);
        keyClick(Qt.Key_Tab);
        keyClick(Qt.Key_Tab);
        compare(subject.activeFocusItem.objectName, "deleteButton");
        keyClick(Qt.Key_Return);
        compare(shownTexts(), ["a", "c"]);
        compare(subject.activeFocusItem.modelData.text, "c");
        verify(subject.activeFocusItem.visualFocus);
    }
}

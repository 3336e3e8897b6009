import QtQuick
import QtTest
import TarqLinux

// What stands around the transcripts.
HistoryTestCase {
    id: testCase

    name: "HistoryWindow"

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
}

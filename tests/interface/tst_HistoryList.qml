import QtQuick
import QtTest
import TarqLinux

// The transcripts: their cards, the search, and the keys that move through them.
HistoryTestCase {
    id: testCase

    name: "HistoryList"

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

import QtQuick
import QtTest
import TarqLinux

SettingsTestCase {
    id: testCase

    name: "SettingsLists"

    function initTestCase() {
        verify(fixture.removeMicrophones());
        addMicrophones();
    }

    function addMicrophones() {
        waitForMicrophones(0);
        verify(fixture.addMicrophone("mic"));
        verify(fixture.addMicrophone("headset"));
        waitForMicrophones(2);
    }

    function waitForMicrophones(count: int) {
        tryVerify(() => store.audioInputDevices().length === count);
    }

    function openList(box: Item): Item {
        mouseClick(box);
        tryCompare(box.popup, "opened", true);
        tryVerify(() => isSettled(box.popup.contentItem));
        return box.popup.contentItem;
    }

    function pick(box: Item, row: int) {
        const list = openList(box);
        list.positionViewAtIndex(row, ListView.Contain);
        mouseClick(list.itemAtIndex(row));
        tryCompare(box.popup, "visible", false);
    }

    function rowTexts(box: Item): var {
        return Array.from({length: box.count}, (unused, row) => box.textAt(row));
    }

    function test_microphoneList_data() {
        return [
            {tag: "nothing stored", stored: "", index: 0},
            {tag: "first", stored: "mic", index: 0},
            {tag: "second", stored: "headset", index: 1},
            {tag: "unplugged", stored: "unplugged", index: 0}
        ];
    }

    function test_microphoneList(data) {
        store.microphoneDeviceId = data.stored;
        openOn("Recording");
        const box = item("microphone");
        compare(rowTexts(box), ["MIC", "HEADSET"]);
        compare(box.currentIndex, data.index);
        compare(box.displayText, data.index === 1 ? "HEADSET" : "MIC");
        compare(store.microphoneDeviceId, data.stored);
        compare(saved().microphoneDeviceId, data.stored);
    }

    function test_pickedMicrophoneIsStored() {
        openOn("Recording");
        const box = item("microphone");
        pick(box, 1);
        compare(box.currentIndex, 1);
        compare(store.microphoneDeviceId, "headset");
        compare(saved().microphoneDeviceId, "headset");
        pick(box, 0);
        compare(store.microphoneDeviceId, "mic");
    }

    function test_pickOfTheShownMicrophoneReplacesOneThatIsGone() {
        store.microphoneDeviceId = "unplugged";
        openOn("Recording");
        pick(item("microphone"), 0);
        compare(store.microphoneDeviceId, "mic");
    }

    function test_microphonesComeAndGoBehindAnOpenWindow() {
        store.microphoneDeviceId = "headset";
        openOn("Recording");
        verify(fixture.removeMicrophones());
        waitForMicrophones(0);
        const box = item("microphone");
        compare(box.count, 2);
        compare(box.currentIndex, 1);
        compare(store.microphoneDeviceId, "headset");
        cleanup();
        // Without a microphone there is nothing to choose.
        openOn("Recording");
        compare(item("microphone").count, 0);
        compare(item("microphone").displayText, "");
        mouseClick(item("microphone"));
        verify(!item("microphone").popup.visible);
        compare(store.microphoneDeviceId, "headset");
        mouseMove(subject.contentItem, 1, subject.height - 1);
        verify(fixture.takePicture(subject, "settings-no-microphone"));
        addMicrophones();
        compare(item("microphone").count, 0);
    }

    function test_languages() {
        openOn("Recording");
        compare(rowTexts(item("language")), ["auto", "en", "es", "fr", "de", "hi", "zh", "ja", "ko",
                                             "pt", "ru", "ar"]);
    }

    function test_storedLanguage_data() {
        return [
            {tag: "auto", stored: "auto", shown: "auto"},
            {tag: "last", stored: "ar", shown: "ar"},
            {tag: "not in the list", stored: "nl", shown: "auto"},
            {tag: "upper case", stored: "DE", shown: "auto"},
            {tag: "empty", stored: "", shown: "auto"}
        ];
    }

    function test_storedLanguage(data) {
        store.transcriptionLanguage = data.stored;
        openOn("Recording");
        compare(item("language").displayText, data.shown);
        compare(store.transcriptionLanguage, data.stored);
        compare(saved().transcriptionLanguage, data.stored);
    }

    function test_pickedLanguageIsStored_data() {
        return [
            {tag: "de", row: 4},
            {tag: "ar", row: 11}
        ];
    }

    function test_pickedLanguageIsStored(data) {
        openOn("Recording");
        pick(item("language"), data.row);
        compare(item("language").displayText, data.tag);
        compare(store.transcriptionLanguage, data.tag);
        compare(saved().transcriptionLanguage, data.tag);
    }

    function test_keysPickALanguage() {
        openOn("Recording");
        activate();
        item("language").forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Space);
        tryCompare(item("language").popup, "opened", true);
        keyClick(Qt.Key_Down);
        keyClick(Qt.Key_Down);
        compare(store.transcriptionLanguage, "auto");
        keyClick(Qt.Key_Return);
        compare(store.transcriptionLanguage, "es");
    }

    function test_escapeLeavesTheListAndTheChoice() {
        openOn("Recording");
        activate();
        openList(item("language"));
        keyClick(Qt.Key_Down);
        keyClick(Qt.Key_Escape);
        tryCompare(item("language").popup, "visible", false);
        compare(store.transcriptionLanguage, "auto");
        verify(subject.visible);
    }

    function test_listsLieWithinTheWindow_data() {
        return [
            {tag: "microphone"},
            {tag: "language"}
        ];
    }

    function test_listsLieWithinTheWindow(data) {
        openOn("Recording");
        const box = item(data.tag);
        const list = openList(box);
        verifyWithinWindow(list);
        // Beside the box, which stays readable.
        const top = list.mapToItem(box, 0, 0).y;
        verify(top >= box.height || top + list.height <= box.topInset);
        verify(fixture.takePicture(subject, "settings-list-" + data.tag));
    }

    function test_wheelScrollsTheLanguages() {
        openOn("Recording");
        const list = openList(item("language"));
        verify(list.contentHeight > list.height);
        mouseWheel(list, 50, 50, 0, -1200);
        tryVerify(() => list.atYEnd);
        verifyWithinWindow(list.itemAtIndex(11));
        verify(fixture.takePicture(subject, "settings-list-scrolled"));
    }

    function test_resetShowsInTheNextWindow() {
        store.microphoneDeviceId = "headset";
        store.transcriptionLanguage = "de";
        openOn("Advanced");
        mouseClick(item("resetButton"));
        compare(store.microphoneDeviceId, "");
        compare(store.transcriptionLanguage, "auto");
        compare(item("microphone").displayText, "HEADSET");
        compare(item("language").displayText, "de");
        cleanup();
        openOn("Recording");
        compare(item("microphone").displayText, "MIC");
        compare(item("language").displayText, "auto");
    }
}

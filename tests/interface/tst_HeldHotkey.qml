import QtQuick
import QtTest
import TarqLinux

// Recording a hotkey by keys that are held for longer than a moment.
SettingsTestCase {
    id: testCase

    name: "HeldHotkey"

    function startCapture() {
        openOn("Hotkey");
        activate();
        mouseClick(item("captureBox"));
        verify(item("hotkey").capturing);
    }

    function test_heldCombinationIsRecordedOnce_data() {
        const names = {space: "Space", KP_Enter: "Return", k: "K"};
        const rows = [];
        for (const keys of ["ctrl+space", "ctrl+Return", "ctrl+Tab", "ctrl+k", "alt+space", "alt+Return",
                            "alt+F5", "shift+space", "shift+Return", "super+space", "super+KP_Enter",
                            "super+Tab", "ctrl+alt+super+space"]) {
            const parts = keys.split("+").map(part => names[part] ?? part[0].toUpperCase() + part.slice(1));
            rows.push({tag: keys, name: parts.join("+")});
        }
        return rows;
    }

    function test_heldCombinationIsRecordedOnce(data) {
        store.recordingHotkey = "before";
        startCapture();
        keyboard.hold(data.tag);
        verify(!item("hotkey").capturing);
        compare(store.recordingHotkey, data.name);
        verify(item("captureBox").activeFocus);
        // From here on keys click again.
        keyboard.hold("space");
        verify(item("hotkey").capturing);
    }

    function test_keyThatIsHeldLongerThanItsModifier_data() {
        return [
            {tag: "ctrl+space"},
            {tag: "shift+Return"},
            {tag: "super+Tab"}
        ];
    }

    function test_keyThatIsHeldLongerThanItsModifier(data) {
        const [modifier, key] = data.tag.split("+");
        startCapture();
        keyboard.press(modifier);
        keyboard.press(key);
        keyboard.waitForRepeats();
        keyboard.letGo(modifier);
        keyboard.waitForRepeats();
        keyboard.release(key);
        verify(!item("hotkey").capturing);
        verify(store.recordingHotkey !== "Super+Space");
        verify(item("captureBox").activeFocus);
    }

    function test_keyThatStartsACaptureIsNotRecorded_data() {
        return [
            {tag: "space"},
            {tag: "Return"}
        ];
    }

    function test_keyThatStartsACaptureIsNotRecorded(data) {
        openOn("Hotkey");
        activate();
        item("captureBox").forceActiveFocus(Qt.TabFocusReason);
        keyboard.press(data.tag);
        keyboard.waitForRepeats();
        keyboard.press("ctrl");
        keyboard.release(data.tag);
        keyboard.release("ctrl");
        verify(item("hotkey").capturing);
        compare(store.recordingHotkey, "Super+Space");
    }

    function test_heldEscapeOnlyCancels() {
        startCapture();
        keyboard.hold("Escape");
        verify(!item("hotkey").capturing);
        verify(subject.visible);
        compare(store.recordingHotkey, "Super+Space");
    }
}

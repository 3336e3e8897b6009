import QtQuick
import QtTest
import TarqLinux

SettingsTestCase {
    id: testCase

    name: "SettingsHotkey"

    function startCapture() {
        openOn("Hotkey");
        activate();
        mouseClick(item("captureBox"));
        verify(item("hotkey").capturing);
    }

    function test_clickStartsAndEndsACapture() {
        openOn("Hotkey");
        const box = item("captureBox");
        compare([box.height, box.radius], [60, 12]);
        compare([box.font.pixelSize, box.font.bold, box.font.letterSpacing], [18, true, 1]);
        verify(!item("hotkey").capturing);
        tryColor(() => box.background.color, "#10FFFFFF");
        tryColor(() => box.background.border.color, "#22FFFFFF");
        mouseClick(box);
        verify(item("hotkey").capturing);
        compare(box.contentItem.text, "Press your hotkey…");
        compare(item("captureHint").text, "Press the keys you want to use, or Escape to cancel.");
        compare(String(box.contentItem.color), "#8fe9ff");
        tryColor(() => box.background.color, "#1AFFFFFF");
        tryColor(() => box.background.border.color, "#8FE9FF");
        verifyNothingIsCutOff();
        verify(fixture.takePicture(subject, "settings-capturing"));
        mouseClick(box);
        verify(!item("hotkey").capturing);
        compare(box.contentItem.text, "Super+Space");
        compare(item("captureHint").text,
                "Click the box to record a new shortcut. Default: Super+Space.");
    }

    function test_capturedKeys_data() {
        const rows = [];
        const add = (tag, key, modifiers) => rows.push({tag: tag, key: key, modifiers: modifiers});
        add("Alt+F1", Qt.Key_F1, Qt.AltModifier);
        add("Ctrl+Shift+A", Qt.Key_A, Qt.ControlModifier | Qt.ShiftModifier);
        add("Super+Space", Qt.Key_Space, Qt.MetaModifier);
        add("Ctrl+Alt+Shift+Super+K", Qt.Key_K,
            Qt.ControlModifier | Qt.AltModifier | Qt.ShiftModifier | Qt.MetaModifier);
        add("Alt+Super+0", Qt.Key_0, Qt.AltModifier | Qt.MetaModifier);
        add("Ctrl+9", Qt.Key_9, Qt.ControlModifier);
        add("Ctrl+Z", Qt.Key_Z, Qt.ControlModifier);
        add("Shift+Super+M", Qt.Key_M, Qt.ShiftModifier | Qt.MetaModifier);
        add("Shift+A", Qt.Key_A, Qt.ShiftModifier);
        add("Ctrl+Tab", Qt.Key_Tab, Qt.ControlModifier);
        add("Alt+Tab", Qt.Key_Tab, Qt.AltModifier);
        add("Ctrl+Return", Qt.Key_Return, Qt.ControlModifier);
        add("Shift+Space", Qt.Key_Space, Qt.ShiftModifier);
        for (let number = 1; number <= 12; ++number) {
            add("Ctrl+F" + number, Qt.Key_F1 + number - 1, Qt.ControlModifier);
        }
        rows.push({tag: "keypad enter", key: Qt.Key_Enter,
                   modifiers: Qt.AltModifier | Qt.KeypadModifier, name: "Alt+Return"});
        rows.push({tag: "keypad digit", key: Qt.Key_5,
                   modifiers: Qt.ControlModifier | Qt.KeypadModifier, name: "Ctrl+5"});
        return rows;
    }

    function test_capturedKeys(data) {
        const name = data.name ?? data.tag;
        store.recordingHotkey = "before";
        startCapture();
        keyClick(data.key, data.modifiers);
        verify(!item("hotkey").capturing);
        compare(store.recordingHotkey, name);
        compare(saved().recordingHotkey, name);
        compare(item("captureBox").contentItem.text, name);
    }

    function test_keysThatCaptureNothing_data() {
        return [
            {tag: "letter", key: Qt.Key_A, modifiers: Qt.NoModifier},
            {tag: "digit", key: Qt.Key_1, modifiers: Qt.NoModifier},
            {tag: "function key", key: Qt.Key_F5, modifiers: Qt.NoModifier},
            {tag: "space", key: Qt.Key_Space, modifiers: Qt.NoModifier},
            {tag: "return", key: Qt.Key_Return, modifiers: Qt.NoModifier},
            {tag: "keypad enter", key: Qt.Key_Enter, modifiers: Qt.KeypadModifier},
            {tag: "tab", key: Qt.Key_Tab, modifiers: Qt.NoModifier},
            {tag: "backtab", key: Qt.Key_Backtab, modifiers: Qt.ShiftModifier},
            {tag: "control", key: Qt.Key_Control, modifiers: Qt.NoModifier},
            {tag: "shift", key: Qt.Key_Shift, modifiers: Qt.NoModifier},
            {tag: "alt", key: Qt.Key_Alt, modifiers: Qt.NoModifier},
            {tag: "meta", key: Qt.Key_Meta, modifiers: Qt.NoModifier},
            {tag: "shift with control", key: Qt.Key_Shift, modifiers: Qt.ControlModifier},
            {tag: "comma with control", key: Qt.Key_Comma, modifiers: Qt.ControlModifier},
            {tag: "exclamation mark", key: Qt.Key_Exclam, modifiers: Qt.ShiftModifier},
            {tag: "arrow with alt", key: Qt.Key_Left, modifiers: Qt.AltModifier},
            {tag: "F13 with control", key: Qt.Key_F13, modifiers: Qt.ControlModifier},
            {tag: "letter with umlaut", key: Qt.Key_Adiaeresis, modifiers: Qt.ControlModifier},
            {tag: "keypad digit", key: Qt.Key_5, modifiers: Qt.KeypadModifier}
        ];
    }

    function test_keysThatCaptureNothing(data) {
        startCapture();
        keyClick(data.key, data.modifiers);
        verify(item("hotkey").capturing);
        compare(store.recordingHotkey, "Super+Space");
        // It goes on listening.
        keyClick(Qt.Key_B, Qt.AltModifier);
        verify(!item("hotkey").capturing);
        compare(store.recordingHotkey, "Alt+B");
    }

    function test_escapeCancels_data() {
        return [
            {tag: "alone", modifiers: Qt.NoModifier},
            {tag: "with shift", modifiers: Qt.ShiftModifier},
            {tag: "with control and alt", modifiers: Qt.ControlModifier | Qt.AltModifier}
        ];
    }

    function test_escapeCancels(data) {
        startCapture();
        keyClick(Qt.Key_Escape, data.modifiers);
        verify(!item("hotkey").capturing);
        compare(store.recordingHotkey, "Super+Space");
        verify(subject.visible);
        keyClick(Qt.Key_B, Qt.AltModifier);
        compare(store.recordingHotkey, "Super+Space");
    }

    function test_keysBeforeACaptureDoNothing() {
        openOn("Hotkey");
        activate();
        keyClick(Qt.Key_B, Qt.AltModifier);
        compare(store.recordingHotkey, "Super+Space");
    }

    function test_captureByTheKeyboardAlone_data() {
        return [
            {tag: "space", key: Qt.Key_Space},
            {tag: "return", key: Qt.Key_Return},
            {tag: "enter", key: Qt.Key_Enter}
        ];
    }

    function test_captureByTheKeyboardAlone(data) {
        openOn("Hotkey");
        activate();
        item("captureBox").forceActiveFocus(Qt.TabFocusReason);
        keyClick(data.key);
        verify(item("hotkey").capturing);
        keyClick(Qt.Key_J, Qt.ControlModifier);
        compare(store.recordingHotkey, "Ctrl+J");
        // The focus is back where it was.
        verify(item("captureBox").activeFocus);
        keyClick(data.key);
        verify(item("hotkey").capturing);
    }

    function test_captureOutlivesItsTab() {
        startCapture();
        choose("General");
        verify(item("hotkey").capturing);
        keyClick(Qt.Key_B, Qt.AltModifier);
        compare(store.recordingHotkey, "Super+Space");
        choose("Hotkey");
        compare(item("captureBox").contentItem.text, "Press your hotkey…");
        keyClick(Qt.Key_B, Qt.AltModifier);
        compare(store.recordingHotkey, "Alt+B");
    }

    function test_resetOfTheHotkey() {
        store.recordingHotkey = "Alt+B";
        openOn("Hotkey");
        compare(item("captureBox").contentItem.text, "Alt+B");
        mouseClick(item("resetHotkeyButton"));
        compare(store.recordingHotkey, "Super+Space");
        compare(item("captureBox").contentItem.text, "Super+Space");
        verify(!item("hotkey").capturing);
    }

    function test_resetOfTheHotkeyEndsACapture() {
        startCapture();
        mouseClick(item("resetHotkeyButton"));
        verify(!item("hotkey").capturing);
        compare(store.recordingHotkey, "Super+Space");
        keyClick(Qt.Key_B, Qt.AltModifier);
        compare(store.recordingHotkey, "Super+Space");
    }

    function test_strangeHotkeyIsShownAsItIs_data() {
        return [
            {tag: "empty", stored: ""},
            {tag: "markup", stored: "<b>Alt</b>+B"},
            {tag: "long", stored: "Ctrl+".repeat(40)}
        ];
    }

    function test_strangeHotkeyIsShownAsItIs(data) {
        store.recordingHotkey = data.stored;
        openOn("Hotkey");
        const shown = item("captureBox").contentItem;
        compare(shown.text, data.stored);
        compare(shown.textFormat, Text.PlainText);
        verifyWithinWindow(shown);
    }
}

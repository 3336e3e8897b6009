import QtQuick
import QtTest
import TarqLinux

SettingsTestCase {
    id: testCase

    name: "SettingsWindow"

    function test_frame() {
        open({settingsStore: store, overlayStateModel: fixture.overlay});
        verifyFrame("Tarq — Settings", 540, 540);
        compare([subject.minimumWidth, subject.minimumHeight], [540, 540]);
        compare(subject.flags, Qt.FramelessWindowHint | Qt.Window);
        verify(subject.visible);
    }

    function test_words_data() {
        return [
            {tag: "General", words: [
                "Launch Tarq on startup", "Start automatically when you sign in",
                "Show in system tray", "Keep Tarq running in the system tray when closed",
                "Anonymous telemetry", "Help us improve Tarq by sharing crash reports"]},
            {tag: "Recording", words: [
                "Microphone", "\u25BE", "Microphone", "Push-to-talk mode",
                "Hold the hotkey to record, release to transcribe", "Auto-punctuation",
                "Add commas, periods, and question marks automatically", "Transcription language",
                "\u25BE", "auto"]},
            {tag: "Hotkey", words: [
                "Recording hotkey", "Super+Space",
                "Click the box to record a new shortcut. Default: Super+Space.",
                "Reset to default (Super+Space)",
                "Note: changes take effect on next app restart while we finish dynamic re-registration."]},
            {tag: "Advanced", words: [
                "Configuration directory", store.configDirectory(), "Clear cached audio files",
                "Reset all settings to defaults", "Tarq v0.1.1 · " + Deployment.websiteDomain]}
        ];
    }

    function test_words(data) {
        openOn(data.tag);
        compare(texts(), ["\u2715", "Settings", "General", "Recording", "Hotkey", "Advanced",
                          ...data.words]);
        verifyNothingIsCutOff();
        verifyControlsHaveNames();
        tryCompare(findChild(tabOf(data.tag), "underline"), "width", tabOf(data.tag).width * 0.6);
        mouseMove(subject.contentItem, 1, subject.height - 1);
        verify(fixture.takePicture(subject, "settings-" + data.tag.toLowerCase()));
    }

    function test_startsOnTheFirstTab() {
        open({settingsStore: store, overlayStateModel: fixture.overlay});
        verify(tabOf("General").current);
        verify(item("autoStart").visible);
        verify(!item("microphone").visible);
    }

    function test_currentTabIsUnderlined() {
        openOn("General");
        const general = tabOf("General");
        const advanced = tabOf("Advanced");
        const underlines = [general, advanced].map(tab => findChild(tab, "underline"));
        tryCompare(underlines[0], "width", general.width * 0.6);
        compare([underlines[0].height, String(underlines[0].color)], [2, "#8fe9ff"]);
        compare(underlines[1].width, 0);
        compare(String(general.contentItem.color), "#f7f9fc");
        compare(String(advanced.contentItem.color), "#7b8aa7");
        mouseClick(advanced);
        // On its way.
        tryVerify(() => underlines[1].width > 0 && underlines[1].width < advanced.width * 0.6);
        tryCompare(underlines[1], "width", advanced.width * 0.6);
        tryCompare(underlines[0], "width", 0);
        compare(String(general.contentItem.color), "#7b8aa7");
        compare(String(advanced.contentItem.color), "#f7f9fc");
    }

    function test_closeButton() {
        openOn("General");
        mouseClick(item("closeButton"));
        verify(!subject.visible);
    }

    function test_dragsByItsTop_data() {
        return [
            {tag: "top left corner", x: 2, y: 2, drags: true},
            {tag: "title", x: 60, y: 40, drags: true},
            {tag: "beside the close button", x: 496, y: 40, drags: true},
            {tag: "below the strip", x: 300, y: 49, drags: false},
            {tag: "close button", x: 514, y: 26, drags: false}
        ];
    }

    function test_dragsByItsTop(data) {
        openOn("General");
        verifyDrags(data.x, data.y, data.drags);
    }

    function test_keyboardReachesEveryControl_data() {
        const frame = ["closeButton", "General", "Recording", "Hotkey", "Advanced"];
        return [
            {tag: "General", names: [...frame, "Launch Tarq on startup", "Show in system tray",
                                     "Anonymous telemetry"]},
            {tag: "Recording", names: [...frame, "microphone", "Push-to-talk mode",
                                       "Auto-punctuation", "language"]},
            {tag: "Hotkey", names: [...frame, "captureBox", "resetHotkeyButton"]},
            {tag: "Advanced", names: [...frame, "clearCacheButton", "resetButton"]}
        ];
    }

    function test_keyboardReachesEveryControl(data) {
        openOn(data.tag);
        activate();
        for (const name of data.names) {
            keyClick(Qt.Key_Tab);
            const reached = subject.activeFocusItem;
            verify(reached.visualFocus, name);
            verify(reached.objectName === name || reached.text === name
                   || reached.Accessible.name === name, name);
        }
        verify(fixture.takePicture(subject, "settings-focus-" + data.tag.toLowerCase()));
    }

    function test_keysChooseTabs_data() {
        return [
            {tag: "space", key: Qt.Key_Space},
            {tag: "return", key: Qt.Key_Return},
            {tag: "enter", key: Qt.Key_Enter}
        ];
    }

    function test_keysChooseTabs(data) {
        openOn("General");
        activate();
        tabOf("Advanced").forceActiveFocus(Qt.TabFocusReason);
        keyClick(data.key);
        verify(tabOf("Advanced").current);
        verify(!tabOf("General").current);
        verify(item("resetButton").visible);
    }

    function test_switches_data() {
        return [
            {tag: "autoStart", tab: "General", initial: false},
            {tag: "showInTray", tab: "General", initial: true},
            {tag: "telemetryOptIn", tab: "General", initial: false},
            {tag: "pushToTalkMode", tab: "Recording", initial: true},
            {tag: "autoPunctuation", tab: "Recording", initial: true}
        ];
    }

    function test_switches(data) {
        openOn(data.tab);
        activate();
        const toggle = toggleOf(data.tag);
        const before = saved();
        compare(toggle.checked, data.initial);
        mouseClick(toggle);
        compare(toggle.checked, !data.initial);
        compare(store[data.tag], !data.initial);
        before[data.tag] = !data.initial;
        compare(saved(), before);
        // And back, by the keyboard.
        toggle.forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Space);
        compare(toggle.checked, data.initial);
        compare(store[data.tag], data.initial);
        compare(saved()[data.tag], data.initial);
    }

    function test_switchesFollowTheStore(data) {
        openOn(data.tab);
        const toggle = toggleOf(data.tag);
        store[data.tag] = !data.initial;
        compare(toggle.checked, !data.initial);
        // Also after the user has moved them.
        mouseClick(toggle);
        compare(store[data.tag], data.initial);
        store[data.tag] = !data.initial;
        compare(toggle.checked, !data.initial);
    }

    function test_switchesFollowTheStore_data() {
        return test_switches_data();
    }

    function test_startupSwitchWritesTheAutostartEntry() {
        const entry = store.configDirectory() + "/../autostart/tarq-linux.desktop";
        openOn("General");
        compare(fixture.readFile(entry), "");
        mouseClick(toggleOf("autoStart"));
        verify(fixture.readFile(entry).includes("Exec=tarq-linux\n"));
        mouseClick(toggleOf("autoStart"));
        compare(fixture.readFile(entry), "");
    }

    function test_resetOfAllSettings() {
        store.autoStart = true;
        store.showInTray = false;
        store.telemetryOptIn = true;
        store.microphoneDeviceId = "headset";
        store.pushToTalkMode = false;
        store.autoPunctuation = false;
        store.transcriptionLanguage = "de";
        store.recordingHotkey = "Alt+B";
        openOn("Advanced");
        mouseClick(item("resetButton"));
        compare(saved(), {microphoneDeviceId: "", recordingHotkey: "Super+Space",
                          pushToTalkMode: true, autoStart: false, showInTray: true,
                          firstRunComplete: false, telemetryOptIn: false,
                          transcriptionLanguage: "auto", autoPunctuation: true});
        for (const [name, value] of Object.entries({
                autoStart: false, showInTray: true, telemetryOptIn: false, pushToTalkMode: true,
                autoPunctuation: true})) {
            compare(toggleOf(name).checked, value, name);
        }
        compare(item("captureBox").contentItem.text, "Super+Space");
    }

    function test_clearingOfTheCacheIsStillToCome() {
        openOn("Advanced");
        const before = saved();
        const words = texts();
        mouseClick(item("clearCacheButton"));
        compare(saved(), before);
        compare(texts(), words);
    }

    function test_colorsOfTheButtons() {
        openOn("Advanced");
        verifyButtonColors(item("clearCacheButton"),
                           {fill: "#10FFFFFF", stroke: "#22FFFFFF", ink: "#F7F9FC"},
                           {fill: "#1AFFFFFF"}, {fill: "#22FFFFFF"});
        verifyButtonColors(item("resetButton"),
                           {fill: "#00000000", stroke: "#33FF6B6B", ink: "#FF6B6B"},
                           {fill: "#1AFF6B6B", stroke: "#FF6B6B", ink: "#FF8888"},
                           {fill: "#22FF6B6B"});
        choose("Hotkey");
        verifyButtonColors(item("resetHotkeyButton"),
                           {fill: "#00000000", stroke: "#22FFFFFF", ink: "#B3C0D6"},
                           {fill: "#1AFFFFFF", stroke: "#22FFFFFF", ink: "#B3C0D6"}, {});
    }

    function test_wordsAtTheLeftAndSwitchAtTheRightOfARow() {
        openOn("General");
        for (const name of ["autoStart", "showInTray", "telemetryOptIn"]) {
            const row = item(name);
            const [title, subtitle] = textItems(row);
            const toggle = toggleOf(name);
            const corner = toggle.mapToItem(row, 0, 0);
            compare(corner.x + toggle.width, row.width);
            fuzzyCompare(corner.y + toggle.height / 2, row.height / 2, 0.5);
            compare(row.width, subject.width - 2 * 32);
            compare(title.mapToItem(row, 0, 0), Qt.point(0, 0));
            compare(subtitle.mapToItem(row, 0, 0).y + subtitle.height, row.height);
            compare([title.font.pixelSize, title.font.weight, String(title.color)],
                    [13, Font.Medium, "#f7f9fc"]);
            compare([subtitle.font.pixelSize, String(subtitle.color)], [11, "#7b8aa7"]);
        }
        compare(item("showInTray").y - item("autoStart").y - item("autoStart").height, 20);
    }

    function test_longWordsOfARowWrap() {
        openOn("General");
        const row = item("autoStart");
        row.title = "word ".repeat(50);
        row.subtitle = "word ".repeat(50);
        const [title, subtitle] = textItems(row);
        verify(title.lineCount > 1 && subtitle.lineCount > 1);
        tryCompare(row, "height", title.height + 4 + subtitle.height);
        verify(title.width < toggleOf("autoStart").mapToItem(row, 0, 0).x);
        verifyNothingIsCutOff();
    }

    function test_rowWithoutASubtitle() {
        openOn("General");
        const row = item("autoStart");
        row.subtitle = "";
        compare(textItems(row).map(text => text.text), ["Launch Tarq on startup"]);
        tryCompare(row, "height", toggleOf("autoStart").height);
    }

    function test_names_data() {
        return [
            {tag: "autoStart", name: "Launch Tarq on startup",
             description: "Start automatically when you sign in"},
            {tag: "autoPunctuation", name: "Auto-punctuation",
             description: "Add commas, periods, and question marks automatically"},
            {tag: "language", name: "Transcription language", description: "auto"},
            {tag: "captureBox", name: "Recording hotkey", description: "Super+Space"}
        ];
    }

    function test_names(data) {
        openOn("General");
        const control = findChild(item(data.tag), "toggle") ?? item(data.tag);
        compare(control.Accessible.name, data.name);
        compare(control.Accessible.description, data.description);
    }
}

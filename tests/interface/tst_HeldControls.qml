import QtQuick
import QtQuick.Templates as T
import QtTest
import TarqLinux

// Every control of every window, under keys that are really held.
WindowTestCase {
    id: testCase

    property T.AbstractButton control: null

    name: "HeldControls"
    document: null

    Component {
        id: aboutDocument

        AboutWindow {}
    }

    Component {
        id: historyDocument

        HistoryWindow {}
    }

    Component {
        id: loginDocument

        LoginWindow {}
    }

    Component {
        id: profileDocument

        ProfileWindow {}
    }

    Component {
        id: settingsDocument

        SettingsWindow {}
    }

    SignalSpy {
        id: clicks

        target: testCase.control
        signalName: "clicked"
    }

    function initTestCase() {
        verify(fixture.addMicrophone("mic"));
    }

    function init() {
        // The sign-in through a browser that a button begins is given up after two minutes, while
        // other windows are open on a busy machine.
        failOnWarning(/^(?!OAuth: timed out)/);
    }

    // Returns when the window has gone, and what it shows may go.
    function close() {
        control = item("closeButton");
        subject.destroy();
        subject = null;
        tryCompare(testCase, "control", null);
    }

    function openWindow(name: string) {
        switch (name) {
        case "about":
            document = aboutDocument;
            open({settingsStore: fixture.settings});
            break;
        case "history":
        case "history, asking":
            document = historyDocument;
            open({historyRepository: fixture.makeHistory(["a", "b"], Date.now()),
                  overlayStateModel: fixture.overlay, showClearConfirm: name !== "history"});
            break;
        case "login":
        case "sign-up":
            document = loginDocument;
            open({authClient: fixture.auth, isSignUp: name === "sign-up"});
            break;
        case "profile":
            document = profileDocument;
            open({overlayStateModel: fixture.overlay, userEmail: "anna@example.org"});
            break;
        default:
            document = settingsDocument;
            open({settingsStore: fixture.settings, overlayStateModel: fixture.overlay});
            findChild(subject.contentItem, "tabBar").currentIndex = Number(name.slice(-1));
        }
        activate();
    }

    // What Tab reaches and a key clicks, in the order of the tree.
    function controls(): var {
        return buttonsIn(subject.contentItem).filter(button => button.focusPolicy & Qt.TabFocus);
    }

    function quits(window: string, name: string): bool {
        return name === "Quit Tarq" || name === "Close" && (window === "login" || window === "sign-up");
    }

    function buttonsIn(parent: Item): var {
        let found = [];
        for (const child of Array.from(parent.children)) {
            if (child.visible && child.enabled) {
                if (child instanceof T.AbstractButton) {
                    found.push(child);
                }
                found = found.concat(buttonsIn(child));
            }
        }
        return found;
    }

    // Where the others are those of an earlier row, it is the controls from one to another.
    function test_heldKeyClicksOnce_data() {
        return [
            {tag: "about", names: ["Close", "Check for updates", "Changelog", "Status", "Privacy",
                                   "Terms", "Support"]},
            {tag: "history", names: ["Website", "Help", "Sign Out", "Quit Tarq", "Clear all",
                                     "Export as JSON", "Export as text", "a", "Copy", "Delete",
                                     "Close"]},
            {tag: "history, asking", from: 4, to: 6, names: ["Yes, clear", "Cancel"]},
            {tag: "login", names: ["Continue with Google", "Continue with GitHub", "Show password",
                                   "Sign In", "Don't have an account? Sign up", "Forgot password?",
                                   "Close"]},
            {tag: "sign-up", from: 3, to: 5,
             names: ["Create Account", "Already have an account? Sign in"]},
            {tag: "profile", names: ["Close", "Download my data", "Sign out", "Delete account"]},
            {tag: "settings 0", names: ["Close", "General", "Recording", "Hotkey", "Advanced",
                                        "Launch Tarq on startup", "Show in system tray",
                                        "Anonymous telemetry"]},
            {tag: "settings 1", from: 5, names: ["Push-to-talk mode", "Auto-punctuation"]},
            {tag: "settings 2", from: 5,
             names: ["Recording hotkey", "Reset to default (Super+Space)"]},
            {tag: "settings 3", from: 5,
             names: ["Clear cached audio files", "Reset all settings to defaults"]}
        ];
    }

    function test_heldKeyClicksOnce(data) {
        openWindow(data.tag);
        const from = data.from ?? 0;
        const names = controls().slice(from, data.to).map(button => button.Accessible.name);
        compare(names, data.names);
        for (const key of ["space", "Return"]) {
            for (let i = 0; i < names.length; ++i) {
                close();
                openWindow(data.tag);
                control = controls()[from + i];
                clicks.clear();
                control.forceActiveFocus(Qt.TabFocusReason);
                if (quits(data.tag, names[i])) {
                    fixture.expectQuit();
                }
                // Return doesn't toggle a switch.
                const expected = key === "Return" && control instanceof ToggleSwitch ? 0 : 1;
                keyboard.hold(key);
                compare(clicks.count, expected, names[i] + " by " + key);
            }
        }
    }

    function test_heldKeyOnlyArmsADeletion_data() {
        return [
            {tag: "space"},
            {tag: "Return"},
            {tag: "KP_Enter"}
        ];
    }

    function test_heldKeyOnlyArmsADeletion(data) {
        openWindow("profile");
        requests.signalName = "deleteAccountRequested";
        requests.clear();
        item("deleteRow").forceActiveFocus(Qt.TabFocusReason);
        keyboard.hold(data.tag);
        verify(item("deleteRow").armed);
        compare(requests.count, 0);
        keyboard.hold(data.tag);
        compare(requests.count, 1);
        verify(!subject.visible);
    }

    SignalSpy {
        id: requests

        target: fixture.overlay
    }

    function test_blankHeldWhileReturnArmsADeletionGoesNoFurther() {
        openWindow("profile");
        requests.signalName = "deleteAccountRequested";
        requests.clear();
        item("deleteRow").forceActiveFocus(Qt.TabFocusReason);
        keyboard.press("space");
        keyboard.hold("Return");
        keyboard.release("space");
        compare(requests.count, 0);
        verify(item("deleteRow").armed);
    }

    function test_heldKeyOpensAListAndPicksFromItOnce() {
        openWindow("settings 1");
        const box = item("language");
        shown.target = box.popup;
        shown.clear();
        picked.target = box;
        picked.clear();
        box.forceActiveFocus(Qt.TabFocusReason);
        keyboard.hold("space");
        compare(shown.count, 1);
        tryCompare(box.popup, "opened", true);
        keyClick(Qt.Key_Down);
        keyboard.hold("Return");
        tryCompare(box.popup, "visible", false);
        compare([shown.count, picked.count], [2, 1]);
        shown.target = null; // goes with the window
    }

    SignalSpy {
        id: shown

        signalName: "visibleChanged"
    }

    SignalSpy {
        id: picked

        signalName: "activated"
    }

    function test_heldReturnSendsAPasswordOnce() {
        openWindow("login");
        ignoreWarning(/^Auth HTTP 400 /);
        fixture.takeAuthRequests();
        fixture.answerAuth(400, '{"msg": "no"}');
        item("emailField").text = "a@b.c";
        item("passwordField").text = "12345678";
        item("passwordField").forceActiveFocus();
        keyboard.press("Return");
        tryCompare(subject, "errorMessage", "no");
        // The field has the keyboard again.
        tryVerify(() => item("passwordField").activeFocus);
        keyboard.waitForRepeats();
        keyboard.release("Return");
        verify(!subject.loading);
        compare(fixture.takeAuthRequests().length, 1);
    }

    function test_heldKeyChoosesFromTheMenuOnce_data() {
        return [{tag: "space"}, {tag: "Return"}, {tag: "KP_Enter"}];
    }

    function test_heldKeyChoosesFromTheMenuOnce(data) {
        document = bubbleDocument;
        fixture.reset();
        subject = document.createObject(null, {
            overlayStateModel: fixture.overlay,
            transcriptionPipeline: fixture.pipeline
        });
        requests.signalName = "historyRequested";
        requests.clear();
        const menu = subject.contextMenuWindow;
        menu.openAt(subject, 30, 30);
        tryVerify(() => menu.active);
        fixture.pressKey(menu, Qt.Key_Down);
        fixture.pressKey(menu, Qt.Key_Down);
        keyboard.hold(data.tag);
        compare(requests.count, 1);
        verify(!menu.visible);
    }

    Component {
        id: bubbleDocument

        Main {}
    }
}

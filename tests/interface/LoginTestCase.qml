import QtQuick
import QtTest
import TarqLinux

// Tests of the login window, which is open and has the keyboard.
WindowTestCase {
    id: testCase

    readonly property SignalSpy success: SignalSpy {
        target: testCase.subject
        signalName: "loginSuccess"
    }

    document: Component {
        LoginWindow {}
    }

    function init() {
        failOnWarning(/./);
        open({authClient: fixture.auth});
        activate();
        fixture.openedUrls = [];
        fixture.takeAuthRequests();
        success.clear();
    }

    function type(text: string) {
        for (const character of text) {
            keyClick(character);
        }
    }

    function fill(email: string, password: string) {
        item("emailField").forceActiveFocus();
        type(email);
        item("passwordField").forceActiveFocus();
        type(password);
    }

    function message(): string {
        const box = item("messageBox");
        return box.visible ? box.children[0].text : "";
    }
}

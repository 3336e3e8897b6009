import QtQuick
import QtTest
import TarqLinux

WindowTestCase {
    id: testCase

    name: "ProfileWindow"
    document: Component {
        ProfileWindow {}
    }

    SignalSpy {
        id: requests

        target: fixture.overlay
    }

    function openFor(email: string) {
        open({overlayStateModel: fixture.overlay, userEmail: email, userId: "4711"});
    }

    function expectRequest(signalName: string) {
        requests.signalName = signalName;
        requests.clear();
    }

    function test_frame() {
        openFor("anna@example.org");
        verifyFrame("Tarq — Profile", 400, 420);
        compare([subject.minimumWidth, subject.minimumHeight], [400, 420]);
        verify(subject.flags & Qt.FramelessWindowHint);
        verifyNothingIsCutOff();
        verifyControlsHaveNames();
        verify(fixture.takePicture(subject, "profile"));
    }

    function test_wordsFromTopToBottom() {
        openFor("anna@example.org");
        compare(texts(), ["\u2715", "Tarq", "A", "anna@example.org", "Download my data", "Sign out",
                          "Delete account", Deployment.websiteDomain]);
    }

    function test_avatarAndEmail_data() {
        return [
            {tag: "letter", email: "anna@example.org", letter: "A", line: "anna@example.org"},
            {tag: "digit", email: "7up@example.org", letter: "7", line: "7up@example.org"},
            {tag: "nobody", email: "", letter: "?", line: "Not signed in"},
            {tag: "markup", email: "<b>x@example.org", letter: "<", line: "<b>x@example.org"}
        ];
    }

    function test_avatarAndEmail(data) {
        openFor(data.email);
        compare(item("avatarLetter").text, data.letter);
        compare(item("emailLine").text, data.line);
        compare(item("emailLine").textFormat, Text.PlainText);
    }

    function test_longEmailIsElidedInTheMiddle() {
        openFor("a".repeat(60) + "@example.org");
        const line = item("emailLine");
        verify(line.truncated);
        compare(line.elide, Text.ElideMiddle);
        verify(line.x >= 0 && line.width <= 400 - 2 * 36);
        verify(fixture.takePicture(subject, "profile-long-email"));
    }

    function test_downloadLeavesTheWindowOpen() {
        openFor("anna@example.org");
        expectRequest("exportDataRequested");
        mouseClick(item("exportButton"));
        compare(requests.count, 1);
        verify(subject.visible);
    }

    function test_signOutAsksAndCloses() {
        openFor("anna@example.org");
        expectRequest("logoutRequested");
        mouseClick(item("signOutButton"));
        compare(requests.count, 1);
        verify(!subject.visible);
    }

    function test_closeButtonAsksForNothing() {
        openFor("anna@example.org");
        expectRequest("logoutRequested");
        mouseClick(item("closeButton"));
        verify(!subject.visible);
        compare(requests.count, 0);
    }

    function test_firstClickOnlyArms() {
        openFor("anna@example.org");
        expectRequest("deleteAccountRequested");
        const row = item("deleteRow");
        compare(row.height, 32);
        tryColor(() => row.contentItem.color, "#5A6580");
        hover(row);
        tryColor(() => row.contentItem.color, "#FF8888");
        mouseClick(row);
        verify(row.armed);
        compare(row.text, "Click again to permanently delete");
        tryColor(() => row.contentItem.color, "#FF6B6B");
        compare(requests.count, 0);
        verify(subject.visible);
        verify(fixture.takePicture(subject, "profile-armed"));
    }

    function test_secondClickDeletes() {
        openFor("anna@example.org");
        expectRequest("deleteAccountRequested");
        mouseClick(item("deleteRow"));
        mouseClick(item("deleteRow"));
        compare(requests.count, 1);
        verify(!subject.visible);
    }

    function test_armingEndsByItself() {
        openFor("anna@example.org");
        expectRequest("deleteAccountRequested");
        const row = item("deleteRow");
        const pressed = Date.now();
        mouseClick(row);
        tryCompare(row, "armed", false, 6000);
        // Coarse timers may be early by a twentieth.
        verify(Date.now() - pressed >= 3800);
        compare(row.text, "Delete account");
        mouseClick(row);
        verify(row.armed);
        compare(requests.count, 0);
        verify(subject.visible);
    }

    // By clocks of the same kind, which a busy machine holds up as well.
    Timer {
        property bool armed: false

        id: sooner

        interval: 3000
        onTriggered: sooner.armed = testCase.item("deleteRow").armed
    }

    Timer {
        property bool armed: true

        id: later

        interval: 5000
        onTriggered: later.armed = testCase.item("deleteRow").armed
    }

    function test_armingLastsFourSeconds() {
        openFor("anna@example.org");
        const row = item("deleteRow");
        const timers = Array.from(row.resources).filter(resource => resource.interval !== undefined);
        compare(timers.map(timer => timer.interval), [4000]);
        mouseClick(row);
        sooner.start();
        later.start();
        tryCompare(later, "running", false, 20000);
        compare([sooner.armed, later.armed], [true, false]);
    }

    function test_lookOfTheButtons() {
        openFor("anna@example.org");
        const download = item("exportButton");
        compare([download.height, download.radius], [38, 10]);
        verifyButtonColors(download, {fill: "#10FFFFFF", stroke: "#22FFFFFF", ink: "#F7F9FC"},
                           {fill: "#1AFFFFFF"}, {fill: "#22FFFFFF"});
        const signOut = item("signOutButton");
        compare([signOut.height, signOut.radius], [46, 12]);
        verifyButtonColors(signOut, {fill: "#00000000", stroke: "#33FF6B6B", ink: "#FF8888"},
                           {fill: "#26FF6B6B", stroke: "#FF6B6B", ink: "#FFFFFF"},
                           {fill: "#FF6B6B", stroke: "#FF6B6B", ink: "#FFFFFF"});
        verify(subject.visible);
    }

    function test_signOutShrinksUnderAPress() {
        openFor("anna@example.org");
        const signOut = item("signOutButton");
        mousePress(signOut);
        tryCompare(signOut, "scale", 0.98);
        mouseMove(signOut, -10, -10, -1, Qt.LeftButton);
        mouseRelease(signOut, -10, -10);
        tryCompare(signOut, "scale", 1);
        verify(subject.visible);
    }

    function test_dragsByItsTop_data() {
        return [
            {tag: "top left corner", x: 2, y: 2, drags: true},
            {tag: "beside the close button", x: 356, y: 40, drags: true},
            {tag: "below the strip", x: 100, y: 49, drags: false},
            {tag: "close button", x: 374, y: 26, drags: false},
            {tag: "right of the close button", x: 396, y: 10, drags: false}
        ];
    }

    function test_dragsByItsTop(data) {
        openFor("anna@example.org");
        verifyDrags(data.x, data.y, data.drags);
    }

    function test_keyboardReachesEveryControl() {
        openFor("anna@example.org");
        activate();
        const reached = [];
        for (let i = 0; i < 4; ++i) {
            keyClick(Qt.Key_Tab);
            verify(subject.activeFocusItem.visualFocus);
            reached.push(subject.activeFocusItem.objectName);
        }
        compare(reached, ["closeButton", "exportButton", "signOutButton", "deleteRow"]);
        verify(fixture.takePicture(subject, "profile-focus"));
    }

    function test_keysPressButtons_data() {
        return [
            {tag: "space", key: Qt.Key_Space},
            {tag: "return", key: Qt.Key_Return},
            {tag: "enter", key: Qt.Key_Enter}
        ];
    }

    function test_keysPressButtons(data) {
        openFor("anna@example.org");
        activate();
        expectRequest("exportDataRequested");
        item("exportButton").forceActiveFocus(Qt.TabFocusReason);
        keyClick(data.key);
        compare(requests.count, 1);
    }
}

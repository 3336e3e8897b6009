import QtQuick
import QtTest
import TarqLinux

// The login window as it looks, and as it is reached.
LoginTestCase {
    id: testCase

    name: "LoginWindow"

    function test_frame() {
        verifyFrame("Tarq — Sign In", 760, 500);
        compare([subject.targetWidth, subject.targetHeight], [760, 500]);
        compare([subject.minimumWidth, subject.minimumHeight], [560, 420]);
        verify(subject.flags & Qt.FramelessWindowHint);
    }

    function test_panels() {
        const left = item("leftPanel");
        const right = item("rightPanel");
        compare([left.x, left.width, left.height], [0, 289, 500]);
        compare([right.x, right.width, right.height], [289, 471, 500]);
        const colors = panel => Array.from(panel.children[0].gradient.stops)
            .map(stop => String(stop.color));
        compare(colors(left), ["#0e1019", "#141c30"]);
        compare(colors(right), ["#0c0d14", "#111726"]);
        const line = item("accentLine");
        compare([line.y, line.width, line.height, line.opacity], [0, 144.5, 2, 0.4]);
        const picture = grabImage(subject.contentItem);
        fuzzyCompare(picture.green(144, 1), 0x67, 3);
        fuzzyCompare(picture.green(40, 1), 0x10, 3);
    }

    function test_wordsOfTheModes() {
        const brand = ["KESTRAM", "Tarq", "Voice to text,\neverywhere.", Deployment.websiteDomain];
        const form = ["Continue with Google", "Continue with GitHub", "or email"];
        compare(texts(), brand.concat(
            ["Welcome back", "Sign in to continue"], form,
            ["Email", "Password", "Show", "Sign In", "Don't have an account? <b>Sign up</b>",
             "Forgot password?", "\u2715"]));
        verifyNothingIsCutOff();
        verify(fixture.takePicture(subject, "login-sign-in"));
        verifyControlsHaveNames();
        mouseClick(item("modeToggle"));
        compare(texts(), brand.concat(
            ["Create account", "Sign up to start using Tarq"], form,
            ["Email", "Password", "Show", "Create Account",
             "Already have an account? <b>Sign in</b>", "\u2715"]));
        verifyNothingIsCutOff();
        verify(fixture.takePicture(subject, "login-sign-up"));
    }

    function test_passwordIsShownOnDemand() {
        const field = item("passwordField");
        fill("a@b.c", "12345678");
        compare(field.echoMode, TextInput.Password);
        mouseClick(item("showToggle"));
        compare(field.echoMode, TextInput.Normal);
        compare(item("showToggle").text, "Hide");
        verify(fixture.takePicture(subject, "login-password-shown"));
        mouseClick(item("showToggle"));
        compare(field.echoMode, TextInput.Password);
        compare(item("showToggle").text, "Show");
    }

    function test_lookOfTheMessageBox() {
        const box = item("messageBox");
        verify(!box.visible);
        subject.infoMessage = "a notice";
        compare([box.color, box.border.color, box.children[0].color].map(String),
                ["#1a8fe9ff", "#338fe9ff", "#a5f0ff"]);
        subject.errorMessage = "an error";
        compare([box.color, box.border.color, box.children[0].color].map(String),
                ["#1aff6b6b", "#33ff6b6b", "#ffa8a8"]);
        compare(box.height, box.children[0].contentHeight + 22);
        compare([box.radius, box.children[0].font.pixelSize], [12, 13]);
    }

    function test_lookOfTheButtons_data() {
        return [
            {tag: "google", name: "googleButton", rest: {fill: "#FFFFFF", ink: "#1F1F1F"},
             hovered: {fill: "#F5F5F5"}, pressed: {fill: "#E0E0E0"}},
            {tag: "github", name: "githubButton",
             rest: {fill: "#24292F", stroke: "#3D444D", ink: "#FFFFFF"},
             hovered: {fill: "#2C323A", stroke: "#4D545C"}, pressed: {fill: "#1A1F25"}},
            {tag: "submit", name: "submitButton", rest: {fill: "#8FE9FF", ink: "#090A0F"},
             hovered: {fill: "#A5F0FF"}, pressed: {fill: "#6DD4E8"}}
        ];
    }

    function test_lookOfTheButtons(data) {
        const button = item(data.name);
        compare([button.height, button.radius, button.font.pixelSize], [46, 12, 14]);
        verifyButtonColors(button, data.rest, data.hovered, data.pressed);
        mousePress(button);
        tryCompare(button, "scale", 0.98);
        mouseMove(button, -20, 0, -1, Qt.LeftButton);
        mouseRelease(button, -20, 0);
        tryCompare(button, "scale", 1);
        verify(!subject.loading);
    }

    function test_lookOfTheFields_data() {
        return [{tag: "emailField", other: "passwordField"}, {tag: "passwordField", other: "emailField"}];
    }

    function test_lookOfTheFields(data) {
        const field = item(data.tag);
        compare([field.height, field.background.radius, field.font.pixelSize], [46, 12, 14]);
        compare([field.color, field.placeholderTextColor].map(String), ["#f7f9fc", "#5a6580"]);
        mouseClick(item(data.other));
        tryColor(() => field.background.color, "#10FFFFFF");
        tryColor(() => field.background.border.color, "#22FFFFFF");
        mouseClick(field);
        tryColor(() => field.background.color, "#1AFFFFFF");
        tryColor(() => field.background.border.color, "#8FE9FF");
    }

    function test_lookOfTheLinks_data() {
        return [{tag: "modeToggle"}, {tag: "forgotLink"}, {tag: "showToggle"}];
    }

    function test_lookOfTheLinks(data) {
        const link = item(data.tag);
        tryColor(() => link.contentItem.color, "#4A5470");
        hover(link);
        tryColor(() => link.contentItem.color, "#8FE9FF");
        if (data.tag === "showToggle") {
            compare([link.width, link.height, link.font.pixelSize, link.font.bold], [32, 32, 10, true]);
        } else {
            compare([link.contentItem.x, link.contentItem.y, link.font.pixelSize], [4, 4, 13]);
        }
    }

    function test_closeButtonEndsTheProgram() {
        const quits = fixture.quits;
        fixture.expectQuit();
        mouseClick(item("closeButton"));
        compare(fixture.quits, quits + 1);
    }

    function test_drags_data() {
        return [
            {tag: "left panel", x: 100, y: 400, drags: true},
            {tag: "on the brand", x: 144, y: 250, drags: true},
            {tag: "top of the right panel", x: 500, y: 20, drags: true},
            {tag: "below the strip", x: 300, y: 60, drags: false},
            {tag: "close button", x: 734, y: 26, drags: false}
        ];
    }

    function test_drags(data) {
        verifyDrags(data.x, data.y, data.drags);
    }

    function test_keyboardReachesEveryControl() {
        verify(item("emailField").activeFocus);
        const reached = [];
        for (let i = 0; i < 9; ++i) {
            reached.push(subject.activeFocusItem.objectName);
            keyClick(Qt.Key_Tab);
        }
        compare(reached, ["emailField", "passwordField", "showToggle", "submitButton", "modeToggle",
                          "forgotLink", "closeButton", "googleButton", "githubButton"]);
        verify(item("emailField").activeFocus);
        keyClick(Qt.Key_Backtab);
        verify(item("githubButton").visualFocus);
        verify(fixture.takePicture(subject, "login-focus"));
        keyClick(Qt.Key_Space);
        verify(subject.loading);
        compare(fixture.openedUrls.length, 1);
    }

    function test_providerMarks() {
        const marks = createTemporaryQmlObject(`
            import QtQuick
            import TarqLinux
            Window {
                width: 440; height: 220; visible: true; color: "#24292F"
                Rectangle { width: 220; height: 220; color: "white" }
                GoogleIcon { x: 10; y: 10; iconSize: 200 }
                GitHubIcon { x: 230; y: 10; iconSize: 200 }
            }`, testCase);
        tryCompare(marks.contentItem, "width", 440);
        const icons = Array.from(marks.contentItem.children).slice(1);
        for (const icon of icons) {
            tryCompare(icon, "available", true);
            compare([icon.width, icon.height], [200, 200]);
        }
        wait(100);
        verify(fixture.takePicture(marks, "login-marks"));
    }
}

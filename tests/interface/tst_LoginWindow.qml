import QtQuick
import QtTest
import TarqLinux

WindowTestCase {
    id: testCase

    name: "LoginWindow"
    document: Component {
        LoginWindow {}
    }

    SignalSpy {
        id: success

        target: testCase.subject
        signalName: "loginSuccess"
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

    function verifyNoRequest() {
        verify(!subject.loading);
        compare(fixture.takeAuthRequests().length, 0);
    }

    function takeRequest(): var {
        let requests = [];
        tryVerify(() => {
            requests = requests.concat(fixture.takeAuthRequests());
            return requests.length > 0;
        });
        compare(requests.length, 1);
        return requests[0];
    }

    function failNextSignIn(message: string) {
        ignoreWarning(/^Auth HTTP 400 /);
        fixture.answerAuth(400, JSON.stringify({msg: message}));
    }

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

    function test_refusedInput_data() {
        return [
            {tag: "no email", email: "", password: "12345678", message: "Email is required"},
            {tag: "blank email", email: "  ", password: "12345678", message: "Email is required"},
            {tag: "no dot behind the at sign", email: "a@b", password: "12345678",
             message: "Please enter a valid email address"},
            {tag: "blank inside", email: "a b@c.d", password: "12345678",
             message: "Please enter a valid email address"},
            {tag: "two at signs", email: "a@b@c.d", password: "12345678",
             message: "Please enter a valid email address"},
            {tag: "nothing before the at sign", email: "@b.c", password: "12345678",
             message: "Please enter a valid email address"},
            {tag: "seven characters", email: "a@b.c", password: "1234567",
             message: "Password must be at least 8 characters"},
            {tag: "seven characters to sign up", email: "a@b.c", password: "1234567", signUp: true,
             message: "Password must be at least 8 characters"}
        ];
    }

    function test_refusedInput(data) {
        subject.isSignUp = data.signUp === true;
        fill(data.email, data.password);
        mouseClick(item("submitButton"));
        compare(message(), data.message);
        verifyNoRequest();
    }

    function test_signIn() {
        fixture.answerAuth(200, '{"access_token": "t", "user": {"email": "a@b.c"}}');
        fill(" a@b.c ", " 345678 ");
        mouseClick(item("submitButton"));
        verify(subject.loading);
        compare(success.count, 0);
        const request = takeRequest();
        compare(request.method, "POST");
        compare(request.target, "/auth/v1/token?grant_type=password");
        compare(JSON.parse(request.body), {email: "a@b.c", password: " 345678 "});
        tryCompare(success, "count", 1);
        verify(!subject.loading);
        verify(subject.visible);
        compare(message(), "");
    }

    function test_signUpThatHasToBeConfirmed() {
        fixture.answerAuth(200, "{}");
        subject.errorMessage = "older";
        mouseClick(item("modeToggle"));
        fill("a@b.c", "12345678");
        mouseClick(item("submitButton"));
        compare(takeRequest().target, "/auth/v1/signup");
        tryVerify(() => message() === "Check your email to confirm your account");
        verify(!subject.loading);
        compare(subject.errorMessage, "");
        compare(success.count, 0);
        verify(fixture.takePicture(subject, "login-info"));
    }

    function test_refusedSignIn() {
        subject.infoMessage = "older";
        failNextSignIn("Invalid login credentials");
        fill("a@b.c", "12345678");
        mouseClick(item("submitButton"));
        tryCompare(subject, "errorMessage",
                   "Wrong email or password. New here? Tap “Sign up” below.");
        compare(message(), subject.errorMessage);
        compare(subject.infoMessage, "");
        verify(!subject.loading);
        compare(success.count, 0);
        compare(item("emailField").text, "a@b.c");
        verifyNothingIsCutOff();
        verify(fixture.takePicture(subject, "login-error"));
    }

    function test_markupInAnErrorIsShownAsItIs() {
        failNextSignIn("<b>no</b>");
        fill("a@b.c", "12345678");
        mouseClick(item("submitButton"));
        tryVerify(() => message() === "<b>no</b>");
        compare(item("messageBox").children[0].textFormat, Text.PlainText);
    }

    function test_noAnswerLeavesTheFormLoading() {
        ignoreWarning(/^Auth network error:/);
        fixture.answerAuth(0, "");
        fill("a@b.c", "12345678");
        mouseClick(item("submitButton"));
        networkError.wait(5000);
        verify(subject.loading);
        compare(message(), "");
        verify(!item("submitButton").enabled);
    }

    SignalSpy {
        id: networkError

        target: fixture.auth
        signalName: "authNetworkError"
    }

    function test_forgottenPassword() {
        fixture.answerAuth(200, "{}");
        item("emailField").forceActiveFocus();
        type(" a@b.c ");
        mouseClick(item("forgotLink"));
        verify(subject.loading);
        const request = takeRequest();
        compare(request.target, "/auth/v1/recover");
        compare(JSON.parse(request.body), {email: "a@b.c"});
        tryVerify(() => message() === "Check your email for a password reset link");
        verify(!subject.loading);
    }

    function test_forgottenPasswordNeedsTheEmail_data() {
        return [{tag: "none", email: ""}, {tag: "invalid", email: "a@b"}];
    }

    function test_forgottenPasswordNeedsTheEmail(data) {
        item("emailField").forceActiveFocus();
        type(data.email);
        mouseClick(item("forgotLink"));
        compare(message(), "Enter your email above first");
        verifyNoRequest();
    }

    function test_providers_data() {
        return [{tag: "google"}, {tag: "github"}];
    }

    function test_providers(data) {
        subject.errorMessage = "an error";
        subject.infoMessage = "a notice";
        mouseClick(item(data.tag + "Button"));
        verify(subject.loading);
        compare(subject.errorMessage, "");
        compare(message(), "a notice");
        compare(fixture.openedUrls.length, 1);
        const query = new URL(fixture.openedUrls[0]).searchParams;
        compare(query.get("provider"), data.tag);
        // A second click comes to nothing.
        mouseClick(item(data.tag + "Button"));
        compare(fixture.openedUrls.length, 1);

        ignoreWarning(/^OAuth provider error:/);
        const callback = new XMLHttpRequest();
        callback.open("GET", query.get("redirect_to") + "?error_description=Not%20today");
        callback.send();
        tryVerify(() => message() === "Not today");
        verify(!subject.loading);
        compare(subject.infoMessage, "");
    }

    function test_errorIsShownBeforeTheNotice() {
        subject.infoMessage = "a notice";
        compare(message(), "a notice");
        mouseClick(item("submitButton"));
        compare(message(), "Email is required");
        compare(subject.infoMessage, "a notice");
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

    function test_longMessageWrapsAndIsScrolledTo() {
        subject.errorMessage = "Cannot start local sign-in listener. Check firewall (allow loopback) or "
            + "try email/password sign-in.";
        const box = item("messageBox");
        compare(box.children[0].lineCount, 2);
        const bottom = box.mapToItem(subject.contentItem, 0, box.height).y;
        verify(bottom <= subject.height - 20);
        verifyNothingIsCutOffBelow();
        verify(fixture.takePicture(subject, "login-long-error"));
    }

    // The message is there in full, whatever had to give way at the top.
    function verifyNothingIsCutOffBelow() {
        for (const text of textItems(item("messageBox"))) {
            verify(!text.truncated);
            verify(text.contentWidth <= text.width);
        }
    }

    function test_modeToggle() {
        subject.errorMessage = "an error";
        subject.infoMessage = "a notice";
        fill("a@b.c", "12345678");
        mouseClick(item("showToggle"));
        verify(item("passwordField").showPw);
        mouseClick(item("modeToggle"));
        verify(subject.isSignUp);
        compare(item("passwordField").text, "");
        verify(!item("passwordField").showPw);
        compare(item("emailField").text, "a@b.c");
        compare(message(), "a notice");
        verify(!item("forgotLink").visible);
        verify(!item("linkSeparator").visible);
        type("87654321");
        mouseClick(item("modeToggle"));
        verify(!subject.isSignUp);
        compare(item("passwordField").text, "");
        verify(item("forgotLink").visible);
        verify(item("linkSeparator").visible);
    }

    function test_keysInTheFields_data() {
        return [
            {tag: "Return in the email field", field: "emailField", key: Qt.Key_Return, submits: false},
            {tag: "Enter in the email field", field: "emailField", key: Qt.Key_Enter, submits: false},
            {tag: "Return in the password field", field: "passwordField", key: Qt.Key_Return,
             submits: true},
            {tag: "Enter in the password field", field: "passwordField", key: Qt.Key_Enter,
             submits: false}
        ];
    }

    function test_keysInTheFields(data) {
        fixture.answerAuth(200, "{}");
        fill("a@b.c", "12345678");
        item(data.field).forceActiveFocus();
        keyClick(data.key);
        compare(subject.loading, data.submits);
        compare(message(), "");
        if (data.submits) {
            tryCompare(success, "count", 1);
        }
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

    function test_whileLoading() {
        verify(!item("busyIndicator").visible);
        subject.loading = true;
        for (const name of ["googleButton", "githubButton", "submitButton"]) {
            verify(!item(name).enabled);
            tryCompare(item(name), "opacity", 0.5);
            mouseClick(item(name));
        }
        verify(!item("emailField").enabled);
        verify(!item("passwordField").enabled);
        verify(item("busyIndicator").visible);
        verify(item("busyIndicator").running);
        compare(fixture.openedUrls, []);
        compare(fixture.takeAuthRequests().length, 0);
        mouseClick(item("showToggle"));
        verify(item("passwordField").showPw);
        mouseClick(item("forgotLink"));
        compare(message(), "Enter your email above first");
        mouseClick(item("modeToggle"));
        verify(subject.isSignUp);
        verify(subject.loading);
        verify(fixture.takePicture(subject, "login-loading"));
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
            compare([link.height, link.font.pixelSize, link.font.bold], [32, 10, true]);
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

    function test_smallestWindowScrollsToWhatTheKeyboardReaches() {
        subject.width = subject.minimumWidth;
        subject.height = subject.minimumHeight;
        tryCompare(subject.contentItem, "height", 420);
        subject.errorMessage = "Wrong email or password. New here? Tap “Sign up” below.";
        verify(fixture.takePicture(subject, "login-smallest"));
        for (const text of textItems(item("rightPanel").parent)) {
            const x = text.mapToItem(subject.contentItem, 0, 0).x;
            verify(x >= 0 && x + text.width <= 560, text.text);
        }
        for (const name of ["googleButton", "forgotLink", "emailField", "submitButton"]) {
            const control = item(name);
            control.forceActiveFocus(Qt.TabFocusReason);
            const top = control.mapToItem(subject.contentItem, 0, 0).y;
            verify(top >= 0 && top + control.height <= 420, name + " at " + top);
        }
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

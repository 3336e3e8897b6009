import QtQuick
import QtTest
import TarqLinux

// What the login form asks for, and what it makes of the answers.
LoginTestCase {
    id: testCase

    name: "LoginForm"

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
        // No blank follows a blank: at the same millisecond the two would be a key that repeats.
        fill(" a@b.c ", "345 678 ");
        fixture.holdAuth();
        mouseClick(item("submitButton"));
        verify(subject.loading);
        compare(success.count, 0);
        fixture.releaseAuth();
        const request = takeRequest();
        compare(request.method, "POST");
        compare(request.target, "/auth/v1/token?grant_type=password");
        compare(JSON.parse(request.body), {email: "a@b.c", password: "345 678 "});
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
        fixture.holdAuth();
        mouseClick(item("forgotLink"));
        verify(subject.loading);
        fixture.releaseAuth();
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
}

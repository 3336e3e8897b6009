import QtQuick
import TarqLinux

// The gate of the program: sign-in through a provider or with a password. What follows a sign-in is the
// business of whoever opened the window.
FramelessWindow {
    id: loginWindow

    required property SupabaseAuthClient authClient
    readonly property int targetWidth: Math.min(760, Math.max(560, Math.floor(Screen.width * 0.7)))
    readonly property int targetHeight: Math.min(500, Math.max(420, Math.floor(Screen.height * 0.7)))
    property bool isSignUp: false
    property bool loading: false
    property string errorMessage: ""
    property string infoMessage: ""

    signal loginSuccess()

    width: loginWindow.targetWidth
    height: loginWindow.targetHeight
    minimumWidth: 560
    minimumHeight: 420
    visible: true
    title: qsTr("Tarq — Sign In")

    // A request that gets no answer leaves the window as it is: the client's network error is handled
    // elsewhere, and only a later signal frees the form.
    Connections {
        target: loginWindow.authClient

        function onAuthSuccess() {
            loginWindow.loading = false;
            loginWindow.loginSuccess();
        }
        function onAuthFailed(error) {
            loginWindow.loading = false;
            loginWindow.infoMessage = "";
            loginWindow.errorMessage = error;
        }
        function onEmailConfirmationRequired() {
            loginWindow.showInfo(qsTr("Check your email to confirm your account"));
        }
        function onPasswordResetSent() {
            loginWindow.showInfo(qsTr("Check your email for a password reset link"));
        }
    }

    TwoPanelFrame {
        target: loginWindow
        leftShare: 0.38
        onCloseRequested: Qt.quit()

        leftItems: LoginBrand {
            anchors.fill: parent
        }
        rightItems: LoginForm {
            id: form

            objectName: "form"
            anchors.fill: parent
            target: loginWindow
            isSignUp: loginWindow.isSignUp
            loading: loginWindow.loading
            errorMessage: loginWindow.errorMessage
            infoMessage: loginWindow.infoMessage
            onProviderChosen: provider => loginWindow.signInWith(provider)
            onSubmitted: loginWindow.submitEmail()
            onPasswordForgotten: loginWindow.submitForgotPassword()
            onModeToggled: loginWindow.toggleMode()
        }
    }

    function showInfo(message: string) {
        loginWindow.loading = false;
        loginWindow.errorMessage = "";
        loginWindow.infoMessage = message;
    }

    function isEmail(text: string): bool {
        return /^[^\s@]+@[^\s@]+\.[^\s@]+$/.test(text);
    }

    function signInWith(provider: string) {
        loginWindow.errorMessage = "";
        loginWindow.loading = true;
        loginWindow.authClient.startOAuth(provider);
    }

    function submitEmail() {
        loginWindow.errorMessage = "";
        const email = form.email.trim();
        const password = form.password;
        if (email === "") {
            loginWindow.errorMessage = qsTr("Email is required");
            return;
        }
        if (!loginWindow.isEmail(email)) {
            loginWindow.errorMessage = qsTr("Please enter a valid email address");
            return;
        }
        if (password.length < 8) {
            loginWindow.errorMessage = qsTr("Password must be at least 8 characters");
            return;
        }
        loginWindow.loading = true;
        if (loginWindow.isSignUp) {
            loginWindow.authClient.signUpWithEmail(email, password);
        } else {
            loginWindow.authClient.signInWithEmail(email, password);
        }
    }

    function submitForgotPassword() {
        loginWindow.errorMessage = "";
        const email = form.email.trim();
        if (!loginWindow.isEmail(email)) {
            loginWindow.errorMessage = qsTr("Enter your email above first");
            return;
        }
        loginWindow.loading = true;
        loginWindow.authClient.resetPassword(email);
    }

    function toggleMode() {
        loginWindow.isSignUp = !loginWindow.isSignUp;
        loginWindow.errorMessage = "";
        form.clearPassword();
    }
}

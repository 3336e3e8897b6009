import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

// The right panel of the login window: what the user can do, and what came of it. It decides nothing.
Flickable {
    id: root

    required property FramelessWindow target
    required property bool isSignUp
    required property bool loading
    required property string errorMessage
    required property string infoMessage
    readonly property string email: emailField.text
    readonly property string password: passwordField.text

    signal providerChosen(provider: string)
    signal submitted()
    signal passwordForgotten()
    signal modeToggled()

    contentWidth: width
    contentHeight: column.height + 48 + 20
    boundsBehavior: Flickable.StopAtBounds
    ScrollBar.vertical: ThinScrollBar {}

    // What has just appeared stands at the end.
    onContentHeightChanged: {
        if (message.visible || busy.visible) {
            root.contentY = root.lastY();
        }
    }
    Window.onActiveFocusItemChanged: root.reveal(Window.activeFocusItem)

    // What scrolls takes every press, so it has a strip of its own, beneath the controls.
    TitleStrip {
        y: root.contentY
        target: root.target
        preventStealing: true
    }

    Column {
        id: column

        x: 36
        y: 48
        width: root.width - 2 * 36
        // With these gaps a message of one line fits into the window at its largest, and the links into
        // the one of a small screen.
        spacing: root.height < 480 ? 5 : 9

        Column {
            spacing: 2

            Text {
                text: root.isSignUp ? qsTr("Create account") : qsTr("Welcome back")
                font.pixelSize: 24
                font.bold: true
                font.letterSpacing: 0.3
                color: "#F7F9FC"
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Text {
                text: root.isSignUp ? qsTr("Sign up to start using Tarq") : qsTr("Sign in to continue")
                font.pixelSize: 14
                color: "#5A6580"
            }
        }
        FormButton {
            objectName: "googleButton"
            enabled: !root.loading
            text: qsTr("Continue with Google")
            mark: GoogleIcon {
                iconSize: 18
            }
            fill: "#FFFFFF"
            fillHovered: "#F5F5F5"
            fillPressed: "#E0E0E0"
            stroke: "transparent"
            ink: "#1F1F1F"
            onClicked: root.providerChosen("google")
        }
        FormButton {
            objectName: "githubButton"
            enabled: !root.loading
            text: qsTr("Continue with GitHub")
            mark: GitHubIcon {
                iconSize: 20
                tint: "#FFFFFF"
            }
            fill: "#24292F"
            fillHovered: "#2C323A"
            fillPressed: "#1A1F25"
            stroke: "#3D444D"
            strokeHovered: "#4D545C"
            ink: "#FFFFFF"
            onClicked: root.providerChosen("github")
        }
        RowLayout {
            width: parent.width
            spacing: 12

            DividerLine {}
            Text {
                text: qsTr("or email")
                font.pixelSize: 12
                color: "#3D4560"
            }
            DividerLine {}
        }
        FormField {
            id: emailField

            objectName: "emailField"
            width: parent.width
            placeholderText: qsTr("Email")
            inputMethodHints: Qt.ImhEmailCharactersOnly
            enabled: !root.loading
            focus: true
        }
        PasswordField {
            id: passwordField

            width: parent.width
            disabled: root.loading
            onSubmitted: root.submitted()
        }
        FormButton {
            objectName: "submitButton"
            enabled: !root.loading
            text: root.isSignUp ? qsTr("Create Account") : qsTr("Sign In")
            font.bold: true
            fill: "#8FE9FF"
            fillHovered: "#A5F0FF"
            fillPressed: "#6DD4E8"
            stroke: "transparent"
            ink: "#090A0F"
            onClicked: root.submitted()
        }
        Grid {
            // One above the other where they don't fit beside each other.
            readonly property bool fits: modeLink.width + forgotLink.width + 2 * spacing + 1 <= parent.width

            anchors.horizontalCenter: parent.horizontalCenter
            columns: fits ? 3 : 1
            spacing: 6
            horizontalItemAlignment: Grid.AlignHCenter
            verticalItemAlignment: Grid.AlignVCenter

            FormLink {
                id: modeLink

                objectName: "modeToggle"
                text: root.isSignUp ? qsTr("Already have an account? <b>Sign in</b>")
                                    : qsTr("Don't have an account? <b>Sign up</b>")
                textFormat: Text.RichText
                Accessible.name: text.replace(/<[^>]*>/g, "")
                onClicked: root.modeToggled()
            }
            Rectangle {
                objectName: "linkSeparator"
                width: 1
                height: 12
                visible: !root.isSignUp && parent.fits
                color: "#22FFFFFF"
            }
            FormLink {
                id: forgotLink

                objectName: "forgotLink"
                visible: !root.isSignUp
                text: qsTr("Forgot password?")
                onClicked: root.passwordForgotten()
            }
        }
        MessageBox {
            id: message

            objectName: "messageBox"
            width: parent.width
            errorMessage: root.errorMessage
            infoMessage: root.infoMessage
        }
        BusyIndicator {
            id: busy

            objectName: "busyIndicator"
            anchors.horizontalCenter: parent.horizontalCenter
            width: 32
            height: 32
            visible: root.loading
            running: root.loading
            palette.dark: "#8FE9FF"
            Accessible.name: qsTr("Please wait")
        }
    }

    component FormButton: PushButton {
        width: parent?.width ?? 0
        height: 46
        font.pixelSize: 14
        pressedScale: 0.98
    }

    component FormLink: TextLink {
        font.pixelSize: 13
        ink: "#4A5470"
        Accessible.role: Accessible.Button
    }

    component DividerLine: Rectangle {
        Layout.fillWidth: true
        Layout.preferredHeight: 1
        color: "#14FFFFFF"
    }

    function clearPassword() {
        passwordField.clear();
    }

    function lastY(): real {
        return Math.max(0, root.contentHeight - root.height);
    }

    // A control that the keyboard reaches may lie outside of a small window. One that is clicked doesn't,
    // and must not slip away from under the pointer.
    function reveal(item: Item) {
        if (item?.focusReason !== Qt.TabFocusReason && item?.focusReason !== Qt.BacktabFocusReason) {
            return;
        }
        const top = item.mapToItem(root.contentItem, 0, 0).y;
        const bottom = top + item.height;
        if (top < root.contentY + 48) {
            root.contentY = Math.max(0, top - 48);
        } else if (bottom > root.contentY + root.height - 8) {
            root.contentY = Math.min(root.lastY(), bottom - root.height + 8);
        }
    }
}

import QtQuick
import TarqLinux

// Shows the recording hotkey, and records another one: a click on the box, then the keys.
Column {
    id: root

    required property SettingsStore settingsStore
    property bool capturing: false

    spacing: 12

    onVisibleChanged: root.focusReceiver()
    onCapturingChanged: root.focusReceiver()

    Text {
        text: qsTr("Recording hotkey")
        font.pixelSize: 13
        font.weight: Font.Medium
        color: "#F7F9FC"
    }
    BaseButton {
        id: box

        objectName: "captureBox"
        width: root.width
        height: 60
        padding: 10
        radius: 12
        text: root.capturing ? qsTr("Press your hotkey…") : root.settingsStore.recordingHotkey
        font.pixelSize: 18
        font.bold: true
        font.letterSpacing: 1
        Accessible.name: qsTr("Recording hotkey")
        Accessible.description: box.text
        onClicked: root.capturing = !root.capturing

        background: Rectangle {
            radius: box.radius
            color: root.capturing ? "#1AFFFFFF" : "#10FFFFFF"
            border.width: 1
            border.color: root.capturing ? "#8FE9FF" : "#22FFFFFF"

            Behavior on color {
                CaptureFade {}
            }
            Behavior on border.color {
                CaptureFade {}
            }
        }
        contentItem: Text {
            text: box.text
            textFormat: Text.PlainText
            font: box.font
            color: root.capturing ? "#8FE9FF" : "#F7F9FC"
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
            elide: Text.ElideRight
        }

        // The box itself would take Space and Return for clicks.
        Item {
            id: receiver

            Keys.onPressed: event => root.receive(event)
        }
    }
    Text {
        objectName: "captureHint"
        width: root.width
        text: root.capturing ? qsTr("Press the keys you want to use, or Escape to cancel.")
                             : qsTr("Click the box to record a new shortcut. Default: Super+Space.")
        font.pixelSize: 11
        color: "#7B8AA7"
        wrapMode: Text.Wrap
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
    SettingsButton {
        objectName: "resetHotkeyButton"
        text: qsTr("Reset to default (Super+Space)")
        fill: "transparent"
        ink: "#B3C0D6"
        onClicked: {
            root.settingsStore.recordingHotkey = "Super+Space";
            root.capturing = false;
        }
    }
    Text {
        width: root.width
        text: qsTr("Note: changes take effect on next app restart while we finish dynamic re-registration.")
        font.pixelSize: 10
        color: "#5A6580"
        wrapMode: Text.Wrap
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }

    component CaptureFade: ColorAnimation {
        duration: 150
    }

    // The keyboard is with the receiver during a capture, and back on the box after it.
    function focusReceiver() {
        if (root.capturing && root.visible) {
            receiver.forceActiveFocus();
        } else if (receiver.activeFocus) {
            box.forceActiveFocus();
        }
    }

    // No key does anything else during a capture: Tab, for one, would move the focus away.
    function receive(event: KeyEvent) {
        event.accepted = root.capturing;
        if (!root.capturing) {
            return;
        }
        if (event.key === Qt.Key_Escape) {
            root.capturing = false;
            return;
        }
        const modifiers = root.modifierName(event.modifiers);
        const key = root.keyName(event.key);
        if (modifiers !== "" && key !== "") {
            root.settingsStore.recordingHotkey = modifiers + "+" + key;
            root.capturing = false;
        }
    }

    function modifierName(modifiers: int): string {
        const names = [];
        if (modifiers & Qt.ControlModifier) {
            names.push("Ctrl");
        }
        if (modifiers & Qt.AltModifier) {
            names.push("Alt");
        }
        if (modifiers & Qt.ShiftModifier) {
            names.push("Shift");
        }
        if (modifiers & Qt.MetaModifier) {
            names.push("Super");
        }
        return names.join("+");
    }

    // Empty for a key that can't be part of a hotkey.
    function keyName(key: int): string {
        if (key >= Qt.Key_A && key <= Qt.Key_Z || key >= Qt.Key_0 && key <= Qt.Key_9) {
            return String.fromCharCode(key);
        }
        if (key >= Qt.Key_F1 && key <= Qt.Key_F12) {
            return "F" + (key - Qt.Key_F1 + 1);
        }
        switch (key) {
        case Qt.Key_Space:
            return "Space";
        case Qt.Key_Tab:
            return "Tab";
        case Qt.Key_Return:
        case Qt.Key_Enter:
            return "Return";
        case Qt.Key_Escape:
            return "Escape";
        default:
            return "";
        }
    }
}

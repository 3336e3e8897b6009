import QtQuick

// A field for a password, with a switch that shows it. The switch works while the field is disabled, which
// is why it stands beside it.
Item {
    id: root

    property alias text: field.text
    property bool disabled: false

    signal submitted()

    height: field.height

    FormField {
        id: field

        property bool showPw: false

        objectName: "passwordField"
        width: parent.width
        rightPadding: 14 + showToggle.width
        placeholderText: qsTr("Password")
        echoMode: field.showPw ? TextInput.Normal : TextInput.Password
        inputMethodHints: Qt.ImhSensitiveData | Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase
        enabled: !root.disabled
        // And not the keypad's Enter.
        Keys.onReturnPressed: root.submitted()
    }

    TextLink {
        id: showToggle

        objectName: "showToggle"
        anchors.right: parent.right
        anchors.rightMargin: 8
        anchors.verticalCenter: parent.verticalCenter
        width: 32
        height: 32
        leftPadding: 0
        rightPadding: 0
        text: field.showPw ? qsTr("Hide") : qsTr("Show")
        font.pixelSize: 10
        font.bold: true
        ink: "#4A5470"
        Accessible.role: Accessible.Button
        Accessible.name: field.showPw ? qsTr("Hide password") : qsTr("Show password")
        onClicked: field.showPw = !field.showPw
    }

    function clear() {
        field.clear();
        field.showPw = false;
    }
}

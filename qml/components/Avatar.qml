import QtQuick

// A disc with the first character of the user's address.
Rectangle {
    id: root

    required property string email
    property alias letterSize: letter.font.pixelSize

    height: width
    radius: width / 2
    gradient: Gradient {
        GradientStop {
            position: 0.0
            color: "#8FE9FF"
        }
        GradientStop {
            position: 1.0
            color: "#5ABCD8"
        }
    }

    Text {
        id: letter

        objectName: "avatarLetter"
        anchors.centerIn: parent
        text: root.email === "" ? "?" : root.email.charAt(0).toUpperCase()
        textFormat: Text.PlainText
        font.bold: true
        color: "#090A0F"
    }
}

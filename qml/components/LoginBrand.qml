import QtQuick
import TarqLinux

// The left panel of the login window.
Item {
    id: root

    Column {
        anchors.centerIn: parent
        spacing: 12

        BrandIcon {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 56
            height: 56
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "KESTRAM"
            font.pixelSize: 10
            font.letterSpacing: 4
            font.weight: Font.Medium
            color: "#5A6580"
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("Tarq")
            font.pixelSize: 40
            font.letterSpacing: 2
            font.weight: Font.Light
            color: "#F7F9FC"
        }
        FadingLine {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 32
            height: 2
            middle: "#30FFFFFF"
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("Voice to text,\neverywhere.")
            font.pixelSize: 14
            lineHeight: 1.5
            horizontalAlignment: Text.AlignHCenter
            color: "#5A6580"
        }
    }

    Text {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 20
        text: Deployment.websiteDomain
        font.pixelSize: 10
        font.letterSpacing: 0.5
        color: "#2D3550"
    }
}

import QtQuick
import TarqLinux

// The brand at the start of the program: fades in and out once, and says that it is done.
Window {
    id: splashWindow

    // What a desktop needs beyond the ordinary window flags.
    property int extraFlags: 0

    signal done()

    width: 760
    height: 500
    x: (Screen.width - width) / 2
    y: (Screen.height - height) / 2
    visible: true
    color: "transparent"
    title: qsTr("Tarq")
    flags: Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint | splashWindow.extraFlags

    Component.onCompleted: {
        splashWindow.x = (Screen.width - splashWindow.width) / 2;
        splashWindow.y = (Screen.height - splashWindow.height) / 2;
        sequence.start();
    }

    SequentialAnimation {
        id: sequence

        NumberAnimation {
            target: content
            property: "opacity"
            from: 0.0
            to: 1.0
            duration: 500
            easing.type: Easing.OutCubic
        }
        PauseAnimation {
            duration: 600
        }
        NumberAnimation {
            target: content
            property: "opacity"
            to: 0.0
            duration: 300
            easing.type: Easing.InCubic
        }
        ScriptAction {
            script: splashWindow.done()
        }
    }

    WindowCard {
        objectName: "card"
        anchors.fill: parent
        anchors.margins: 1
    }

    Column {
        id: content

        objectName: "content"
        anchors.centerIn: parent
        opacity: 0.0

        BrandIcon {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 64
            height: 64
        }
        Gap {
            height: 24
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "KESTRAM"
            font.pixelSize: 11
            font.letterSpacing: 4
            font.weight: Font.Medium
            color: "#5A6580"
        }
        Gap {
            height: 8
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("Tarq")
            font.pixelSize: 48
            font.letterSpacing: 2
            font.weight: Font.Light
            color: "#F7F9FC"
        }
        Gap {
            height: 16
        }
        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 40
            height: 1
            color: "#20FFFFFF"
        }
        Gap {
            height: 16
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("Voice to text, everywhere.")
            font.pixelSize: 15
            font.letterSpacing: 0.3
            color: "#5A6580"
        }
    }

    component Gap: Item {
        width: 1
    }
}

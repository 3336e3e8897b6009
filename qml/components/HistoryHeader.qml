import QtQuick
import QtQuick.Layouts

// The title of the history, and the button that clears it, which asks first.
RowLayout {
    id: root

    required property int count
    required property bool showClearConfirm

    signal clearRequested()
    signal clearConfirmed()
    signal clearCancelled()

    spacing: 8

    StaticText {
        Layout.fillWidth: true
        text: qsTr("History")
        font.pixelSize: 22
        font.bold: true
        font.letterSpacing: 0.3
        color: "#F7F9FC"
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    HeaderButton {
        objectName: "clearButton"
        visible: root.count > 0 && !root.showClearConfirm
        text: qsTr("Clear all")
        fill: "#16FFFFFF"
        fillHovered: "#1FFF6B6B"
        fillPressed: "#30FF6B6B"
        strokeHovered: "#40FF6B6B"
        ink: "#B3C0D6"
        inkHovered: "#FF8888"
        pressedScale: 0.97
        onClicked: root.clearRequested()
    }
    HeaderButton {
        objectName: "confirmButton"
        Layout.minimumWidth: 96
        visible: root.showClearConfirm
        text: qsTr("Yes, clear")
        font.bold: true
        fill: "#D04545"
        fillHovered: "#E85A5A"
        fillPressed: "#FF6B6B"
        stroke: "transparent"
        ink: "#FFFFFF"
        onClicked: root.clearConfirmed()
    }
    HeaderButton {
        objectName: "cancelButton"
        Layout.minimumWidth: 80
        visible: root.showClearConfirm
        text: qsTr("Cancel")
        fill: "transparent"
        ink: "#B3C0D6"
        onClicked: root.clearCancelled()
    }

    component HeaderButton: PushButton {
        implicitHeight: 36
        leftPadding: 14
        rightPadding: 14
        font.pixelSize: 12
    }
}

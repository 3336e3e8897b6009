import QtQuick

// The top of a window: it is dragged by it, up to the button that closes it.
Item {
    id: root

    required property FramelessWindow target

    signal closeRequested()

    height: 48

    DragArea {
        anchors.fill: parent
        anchors.rightMargin: root.width - closeButton.x
        target: root.target
    }

    PushButton {
        id: closeButton

        objectName: "closeButton"
        x: root.width - width - 12
        y: 12
        width: 28
        height: 28
        radius: 14
        padding: 0
        text: "\u2715"
        font.pixelSize: 12
        fill: "transparent"
        stroke: "transparent"
        ink: "#7B8AA7"
        inkHovered: "#F7F9FC"
        Accessible.name: qsTr("Close")
        onClicked: root.closeRequested()
    }
}

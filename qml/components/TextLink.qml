import QtQuick

// A text to click on; the area reaches a little beyond it.
BaseButton {
    id: root

    property color ink: "#7B8AA7"
    property color inkHovered: "#8FE9FF"
    property int fadeMs: 150
    property int textFormat: Text.PlainText

    padding: 4
    radius: 6
    Accessible.role: Accessible.Link

    contentItem: Text {
        text: root.text
        textFormat: root.textFormat
        font: root.font
        color: root.hovered ? root.inkHovered : root.ink
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter

        Behavior on color {
            ColorAnimation {
                duration: root.fadeMs
            }
        }
    }
}

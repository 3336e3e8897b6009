import QtQuick
import QtQuick.Templates as T

// Shows which control the keyboard has reached. Around the control, since some are filled with the ring's
// own colour.
Rectangle {
    id: root

    required property T.Control control

    anchors.fill: parent
    anchors.margins: -3
    visible: root.control.visualFocus
    color: "transparent"
    border.width: 2
    border.color: "#8FE9FF"
}

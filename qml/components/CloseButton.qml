import QtQuick

// Stands in the top right corner of its window.
PushButton {
    objectName: "closeButton"
    x: (parent?.width ?? 0) - width - 12
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
}

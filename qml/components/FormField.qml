import QtQuick
import QtQuick.Controls.Basic

// A line of text to fill in. Its placeholder is also its name.
TextField {
    id: root

    property color fill: "#10FFFFFF"
    property color fillFocused: "#1AFFFFFF"
    property color stroke: "#22FFFFFF"
    property color strokeFocused: "#8FE9FF"
    property int fadeMs: 200
    property real radius: 12

    implicitHeight: 46
    leftPadding: 14
    rightPadding: 14
    font.pixelSize: 14
    color: "#F7F9FC"
    placeholderTextColor: "#5A6580"
    selectionColor: "#5ABCD8"
    selectedTextColor: "#090A0F"
    Accessible.name: root.placeholderText

    background: Rectangle {
        radius: root.radius
        color: root.activeFocus ? root.fillFocused : root.fill
        border.width: 1
        border.color: root.activeFocus ? root.strokeFocused : root.stroke

        Behavior on color {
            ColorAnimation {
                duration: root.fadeMs
            }
        }
        Behavior on border.color {
            ColorAnimation {
                duration: root.fadeMs
            }
        }
    }
}

import QtQuick
import QtQuick.Templates as T

// A switch without words of its own: those stand beside it. Not made from Switch, whose data for assistive
// technology leak in Qt 6.4.
T.AbstractButton {
    id: root

    implicitWidth: 40
    implicitHeight: 22
    checkable: true
    hoverEnabled: true

    background: Rectangle {
        radius: 11
        color: root.checked ? "#8FE9FF" : root.hovered ? "#22FFFFFF" : "#10FFFFFF"
        border.width: 1
        border.color: root.checked ? "#8FE9FF" : "#40FFFFFF"

        Behavior on color {
            SwitchFade {}
        }
        Behavior on border.color {
            SwitchFade {}
        }

        Rectangle {
            x: root.checked ? root.width - width - 3 : 3
            y: 3
            width: 16
            height: 16
            radius: 8
            color: root.checked ? "#090A0F" : "#B3C0D6"

            Behavior on x {
                NumberAnimation {
                    duration: 150
                    easing.type: Easing.OutCubic
                }
            }
            Behavior on color {
                SwitchFade {}
            }
        }
    }

    FocusRing {
        control: root
        radius: 14
    }

    component SwitchFade: ColorAnimation {
        duration: 150
    }
}

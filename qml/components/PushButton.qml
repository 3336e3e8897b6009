import QtQuick

// A button whose fill, outline and text follow the pointer.
BaseButton {
    id: root

    property color fill: "#10FFFFFF"
    property color fillHovered: "#1AFFFFFF"
    property color fillPressed: "#22FFFFFF"
    property color stroke: "#22FFFFFF"
    property color strokeHovered: root.stroke
    property color ink: "#F7F9FC"
    property color inkHovered: root.ink
    property real pressedScale: 1.0
    property Item mark: null // stands before the text

    readonly property bool lit: root.hovered || root.pressed

    padding: 10
    radius: 12
    opacity: root.enabled ? 1.0 : 0.5
    scale: root.pressed ? root.pressedScale : 1.0

    Behavior on opacity {
        NumberAnimation {
            duration: 200
        }
    }
    Behavior on scale {
        NumberAnimation {
            duration: 100
            easing.type: Easing.OutCubic
        }
    }

    background: Rectangle {
        radius: root.radius
        color: root.pressed ? root.fillPressed : root.hovered ? root.fillHovered : root.fill
        border.width: border.color.a > 0 ? 1 : 0
        border.color: root.lit ? root.strokeHovered : root.stroke

        Behavior on color {
            PointerFade {}
        }
        Behavior on border.color {
            PointerFade {}
        }
    }
    contentItem: MarkedLabel {
        mark: root.mark
        text: root.text
        font: root.font
        color: root.lit ? root.inkHovered : root.ink

        Behavior on color {
            PointerFade {}
        }
    }

    component PointerFade: ColorAnimation {
        duration: 120
    }
}

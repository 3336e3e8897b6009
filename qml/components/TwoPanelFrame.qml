import QtQuick

// The inside of a large window: a brand panel on the left, by which the window is dragged, and a wider
// panel with a title strip on the right.
Item {
    id: root

    required property FramelessWindow target
    required property real leftShare // of the width, from 0 to 1
    property alias leftItems: leftContent.data
    property alias rightItems: rightContent.data

    signal closeRequested()

    anchors.fill: parent

    HalfCard {
        id: left

        objectName: "leftPanel"
        width: Math.round(root.width * root.leftShare)
        height: root.height
        roundedLeft: true
        topColor: "#0E1019"
        bottomColor: "#141C30"
    }

    HalfCard {
        id: right

        objectName: "rightPanel"
        x: left.width
        width: root.width - left.width
        height: root.height
        roundedLeft: false
        topColor: "#0C0D14"
        bottomColor: "#111726"
    }

    FadingLine {
        objectName: "accentLine"
        x: (left.width - width) / 2
        width: left.width / 2
        height: 2
        middle: "#8FE9FF"
        opacity: 0.4
    }

    DragArea {
        anchors.fill: left
        target: root.target
    }

    Item {
        anchors.fill: right

        TitleStrip {
            target: root.target
        }
    }

    Item {
        id: leftContent

        anchors.fill: left
    }

    Item {
        id: rightContent

        anchors.fill: right
    }

    CloseButton {
        onClicked: root.closeRequested()
    }

    // Only the outer corners are round: the rectangle reaches beyond the inner edge, where it is cut off.
    component HalfCard: Item {
        id: half

        required property bool roundedLeft
        required property color topColor
        required property color bottomColor

        clip: true

        Rectangle {
            x: half.roundedLeft ? 0 : -radius
            width: half.width + radius
            height: half.height
            radius: 16
            gradient: Gradient {
                GradientStop {
                    position: 0.0
                    color: half.topColor
                }
                GradientStop {
                    position: 1.0
                    color: half.bottomColor
                }
            }
        }
    }
}

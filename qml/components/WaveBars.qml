pragma ComponentBehavior: Bound

import QtQuick
import TarqLinux

// Five bars that grow up and down from the middle line, as high as the scales say.
Row {
    id: root

    required property ThemeTokens theme
    property var barScales: [0.1, 0.1, 0.1, 0.1, 0.1]

    spacing: root.theme.waveBarSpacing

    Repeater {
        model: 5

        Item {
            id: cell

            required property int index

            width: root.theme.waveBarWidth
            height: root.theme.waveBarMaxHeight

            Rectangle {
                objectName: "bar" + cell.index
                y: (cell.height - height) / 2
                width: root.theme.waveBarWidth
                height: root.theme.waveBarMaxHeight
                        * Math.max(root.theme.waveMinScale, root.barScales[cell.index])
                radius: root.theme.waveBarCornerRadius
                color: root.theme.textPrimary
                antialiasing: true

                Behavior on height {
                    NumberAnimation {
                        duration: root.theme.waveAnimationMs
                        easing.type: Easing.BezierSpline
                        easing.bezierCurve: [0.22, 1.0, 0.36, 1.0, 1.0, 1.0]
                    }
                }
            }
        }
    }
}

import QtQuick

// A horizontal line that fades out towards both ends.
Rectangle {
    id: root

    required property color middle

    gradient: Gradient {
        orientation: Gradient.Horizontal

        GradientStop {
            position: 0.0
            color: "transparent"
        }
        GradientStop {
            position: 0.5
            color: root.middle
        }
        GradientStop {
            position: 1.0
            color: "transparent"
        }
    }
}

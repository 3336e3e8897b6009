import QtQuick

// The background of a small window.
Rectangle {
    radius: 16
    border.width: 1
    border.color: "#18FFFFFF"
    gradient: Gradient {
        GradientStop {
            position: 0.0
            color: "#0C0D14"
        }
        GradientStop {
            position: 1.0
            color: "#131929"
        }
    }
}

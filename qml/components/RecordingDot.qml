import QtQuick
import TarqLinux

// The dot that breathes while a recording runs, with its glow; orange once the recording nears its
// limit.
Item {
    id: root

    required property ThemeTokens theme
    property bool recording: false
    property bool warning: false

    readonly property color currentColor: root.warning ? root.theme.warningGlow : "#FF0000"

    width: 6
    height: 6
    visible: root.recording

    Rectangle {
        objectName: "recordingGlow"
        anchors.centerIn: parent
        width: 12
        height: 12
        radius: 6
        color: root.currentColor
        opacity: dot.opacity * 0.2
    }

    Rectangle {
        id: dot

        objectName: "recordingDot"
        anchors.fill: parent
        radius: 3
        color: root.currentColor
        opacity: 0

        Behavior on color {
            ColorAnimation {
                duration: 300
                easing.type: Easing.OutCubic
            }
        }
    }

    SequentialAnimation {
        running: root.recording && root.Window.visibility !== Window.Hidden
        loops: Animation.Infinite
        onStopped: dot.opacity = 0

        Breath {
            target: dot
            to: 1.0
        }
        Breath {
            target: dot
            to: 0.5
        }
    }

    component Breath: NumberAnimation {
        property: "opacity"
        duration: 500
        easing.type: Easing.InOutSine
    }
}

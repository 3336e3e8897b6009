import QtQuick
import TarqLinux

// The pill: its fill, outline and width follow the state, and its three contents cross-fade.
Item {
    id: root

    required property ThemeTokens theme
    property string visualState: "idle"
    property var waveScales: [0.1, 0.1, 0.1, 0.1, 0.1]
    property bool recordingWarning: false
    property real pulseScale: 1.0
    property real cornerRadius: root.theme.bubbleCornerRadius

    readonly property bool recording: root.visualState === "recording"
    readonly property bool processing: root.visualState === "processing"
    readonly property int targetWidth: root.recording ? root.theme.recordingBubbleWidth
                                     : root.processing ? root.theme.processingBubbleWidth
                                     : root.theme.idleBubbleWidth
    property color currentGradStart: root.recording ? root.theme.overlayRecordingStart
                                   : root.processing ? root.theme.overlayProcessingStart
                                   : root.theme.overlayIdleStart
    property color currentGradEnd: root.recording ? root.theme.overlayRecordingEnd
                                 : root.processing ? root.theme.overlayProcessingEnd
                                 : root.theme.overlayIdleEnd
    property color currentStroke: root.recording ? root.theme.overlayRecordingStroke
                                : root.processing ? root.theme.overlayProcessingStroke
                                : root.theme.overlayIdleStroke

    width: root.targetWidth
    height: root.theme.bubbleHeight
    transformOrigin: Item.Center

    onVisualStateChanged: {
        if (pulse.running) {
            pulse.stop();
            root.pulseScale = 1.0;
        }
        pulse.start();
    }

    Behavior on width {
        NumberAnimation {
            duration: root.theme.widthMorphDurationMs
            easing.type: Easing.BezierSpline
            easing.bezierCurve: [0.4, 0.0, 0.2, 1.0, 1.0, 1.0]
        }
    }
    Behavior on currentGradStart {
        StateColorAnimation {}
    }
    Behavior on currentGradEnd {
        StateColorAnimation {}
    }
    Behavior on currentStroke {
        StateColorAnimation {}
    }

    SequentialAnimation {
        id: pulse

        NumberAnimation {
            target: root
            property: "pulseScale"
            to: 1.03
            duration: root.theme.surfacePulseUpDurationMs
            easing.type: Easing.BezierSpline
            easing.bezierCurve: [0.22, 1.0, 0.36, 1.0, 1.0, 1.0]
        }
        NumberAnimation {
            target: root
            property: "pulseScale"
            to: 1.0
            duration: root.theme.surfacePulseDownDurationMs
            easing.type: Easing.BezierSpline
            easing.bezierCurve: [0.22, 1.0, 0.36, 1.0, 1.0, 1.0]
        }
    }

    Item {
        anchors.fill: parent
        // Or its middle, which the contents keep to, would jump by half a pixel while the width changes.
        anchors.alignWhenCentered: false
        scale: root.pulseScale

        Rectangle {
            objectName: "pillSurface"
            anchors.fill: parent
            radius: root.cornerRadius
            antialiasing: true
            border.width: 1
            border.color: root.currentStroke
            gradient: Gradient {
                orientation: Gradient.Horizontal

                GradientStop {
                    position: 0.0
                    color: root.currentGradStart
                }
                GradientStop {
                    position: 1.0
                    color: root.currentGradEnd
                }
            }
        }

        Rectangle {
            anchors.fill: parent
            radius: root.cornerRadius
            antialiasing: true
            color: "transparent"
            border.width: 1
            border.color: root.theme.overlayHighlightStroke
            opacity: 0.35
        }

        IdleIcon {
            objectName: "idleIcon"
            anchors.centerIn: parent
            width: root.theme.idleIconSize
            height: root.theme.idleIconSize
            tint: root.theme.textPrimary
            opacity: root.recording || root.processing ? 0.0 : 0.65

            Behavior on opacity {
                ContentFade {
                    theme: root.theme
                }
            }
        }

        WaveBars {
            objectName: "waveBars"
            anchors.centerIn: parent
            anchors.alignWhenCentered: false
            theme: root.theme
            barScales: root.waveScales
            opacity: root.recording ? 1.0 : 0.0

            Behavior on opacity {
                ContentFade {
                    theme: root.theme
                }
            }
        }

        ProcessingSpinner {
            objectName: "processingSpinner"
            anchors.centerIn: parent
            theme: root.theme
            opacity: root.processing ? 1.0 : 0.0

            Behavior on opacity {
                ContentFade {
                    theme: root.theme
                }
            }
        }

        RecordingDot {
            x: 12
            y: 12
            theme: root.theme
            recording: root.recording
            warning: root.recordingWarning
        }
    }

    component StateColorAnimation: ColorAnimation {
        duration: 220
        easing.type: Easing.OutCubic
    }

    component ContentFade: NumberAnimation {
        required property ThemeTokens theme

        duration: theme.contentFadeDurationMs
        easing.type: Easing.OutCubic
    }
}

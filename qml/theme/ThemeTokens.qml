import QtQuick

// The design constants of the interface. The bubble binds to them; the other windows write the same
// palette as literals. A token that nobody binds is part of the vocabulary and stays.
QtObject {
    // Spacing, in pixels
    readonly property int spacingXs: 4
    readonly property int spacingSm: 8
    readonly property int spacingMd: 12
    readonly property int spacingLg: 16
    readonly property int spacingXl: 20
    readonly property int spacing2xl: 24
    readonly property int spacing3xl: 32
    readonly property int spacing4xl: 48

    // Radius, in pixels
    readonly property int radiusSm: 8
    readonly property int radiusMd: 12
    readonly property int radiusLg: 16
    readonly property int radiusXl: 20

    // Background and surfaces
    readonly property color backgroundStart: "#090A0F"
    readonly property color backgroundEnd: "#111726"
    readonly property color panel: "#1AF6F8FC"
    readonly property color stroke: "#26FFFFFF"
    readonly property color badge: "#14FFFFFF"
    readonly property color divider: "#12FFFFFF"
    readonly property color surface10: "#10FFFFFF"
    readonly property color surface16: "#1AFFFFFF"
    readonly property color surface22: "#22FFFFFF"
    readonly property color surface40: "#40FFFFFF"

    // Text. On backgroundStart the contrast falls from 18.4:1 through 11.0:1, 7.0:1 and 5.1:1 to 3.4:1,
    // which is enough for large or decorative text only.
    readonly property color textPrimary: "#F7F9FC"
    readonly property color textSecondary: "#B3C0D6"
    readonly property color textTertiary: "#8C9CB8"
    readonly property color textMuted: "#6E7C97"
    readonly property color textDisabled: "#525C75"

    // Brand and status
    readonly property color accent: "#8FE9FF"
    readonly property color accentHover: "#A5F0FF"
    readonly property color accentPressed: "#6DD4E8"
    readonly property color accentDark: "#5ABCD8"
    readonly property color error: "#FF6B6B"
    readonly property color errorBg: "#1AFF6B6B"
    readonly property color errorBorder: "#33FF6B6B"
    readonly property color errorText: "#FFA8A8"
    readonly property color success: "#5DD39E"
    readonly property color successBg: "#1A5DD39E"
    readonly property color successBorder: "#335DD39E"
    readonly property color warning: "#FF8800"
    readonly property color info: "#8FE9FF"
    readonly property color infoBg: "#1A8FE9FF"
    readonly property color infoBorder: "#338FE9FF"

    // Animation, in milliseconds
    readonly property int durationFast: 100
    readonly property int durationNormal: 150
    readonly property int durationSlow: 200

    // Bubble: fill from Start to End, and outline, of each state
    readonly property color overlayIdleStart: "#C1171E2D"
    readonly property color overlayIdleEnd: "#D1242F43"
    readonly property color overlayIdleStroke: "#3EFFFFFF"
    readonly property color overlayRecordingStart: "#CA243246"
    readonly property color overlayRecordingEnd: "#D243608A"
    readonly property color overlayRecordingStroke: "#55DCF0FF"
    readonly property color overlayProcessingStart: "#C41D2636"
    readonly property color overlayProcessingEnd: "#D03A4E70"
    readonly property color overlayProcessingStroke: "#50E7F2FF"
    readonly property color overlayHighlightStroke: "#14FFFFFF"
    readonly property color recordingGlow: "#FF3366"
    readonly property color warningGlow: "#FF8800"

    // Bubble: geometry, in pixels
    readonly property int idleBubbleWidth: 60
    readonly property int recordingBubbleWidth: 100
    readonly property int processingBubbleWidth: 73
    readonly property int bubbleHeight: 48
    readonly property real bubbleCornerRadius: 20
    readonly property int bubbleHorizontalPadding: 21
    readonly property int bubbleVerticalPadding: 12
    readonly property int idleIconSize: 36
    readonly property int processingSpinnerSize: 16
    readonly property int waveBarWidth: 3
    readonly property int waveBarSpacing: 3
    readonly property int waveBarMaxHeight: 18
    readonly property real waveBarCornerRadius: 1.5

    // Bubble: timing, in milliseconds
    readonly property int showDurationMs: 80
    readonly property int hideDurationMs: 80
    readonly property int contentFadeDurationMs: 150
    readonly property int widthMorphDurationMs: 220
    readonly property int surfacePulseUpDurationMs: 120
    readonly property int surfacePulseDownDurationMs: 180
    readonly property int waveIntervalMs: 50
    readonly property int waveAnimationMs: 50

    // Wave: the shape that the services compute, for reference
    readonly property real waveMinScale: 0.1
    readonly property var waveWeights: [0.4, 0.7, 1.0, 0.7, 0.4]
    readonly property var waveSmoothing: [0.35, 0.55, 1.0, 0.55, 0.35]
}

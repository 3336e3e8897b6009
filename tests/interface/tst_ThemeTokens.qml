import QtQuick
import QtTest
import TarqLinux

TestCase {
    id: root

    name: "ThemeTokens"

    ThemeTokens {
        id: theme
    }

    function test_tokens_data() {
        const tokens = {
            spacingXs: 4, spacingSm: 8, spacingMd: 12, spacingLg: 16, spacingXl: 20,
            spacing2xl: 24, spacing3xl: 32, spacing4xl: 48,
            radiusSm: 8, radiusMd: 12, radiusLg: 16, radiusXl: 20,
            backgroundStart: "#090A0F", backgroundEnd: "#111726", panel: "#1AF6F8FC",
            stroke: "#26FFFFFF", badge: "#14FFFFFF", divider: "#12FFFFFF",
            surface10: "#10FFFFFF", surface16: "#1AFFFFFF", surface22: "#22FFFFFF",
            surface40: "#40FFFFFF",
            textPrimary: "#F7F9FC", textSecondary: "#B3C0D6", textTertiary: "#8C9CB8",
            textMuted: "#6E7C97", textDisabled: "#525C75",
            accent: "#8FE9FF", accentHover: "#A5F0FF", accentPressed: "#6DD4E8",
            accentDark: "#5ABCD8",
            error: "#FF6B6B", errorBg: "#1AFF6B6B", errorBorder: "#33FF6B6B",
            errorText: "#FFA8A8",
            success: "#5DD39E", successBg: "#1A5DD39E", successBorder: "#335DD39E",
            warning: "#FF8800", info: "#8FE9FF", infoBg: "#1A8FE9FF", infoBorder: "#338FE9FF",
            durationFast: 100, durationNormal: 150, durationSlow: 200,
            overlayIdleStart: "#C1171E2D", overlayIdleEnd: "#D1242F43",
            overlayIdleStroke: "#3EFFFFFF",
            overlayRecordingStart: "#CA243246", overlayRecordingEnd: "#D243608A",
            overlayRecordingStroke: "#55DCF0FF",
            overlayProcessingStart: "#C41D2636", overlayProcessingEnd: "#D03A4E70",
            overlayProcessingStroke: "#50E7F2FF", overlayHighlightStroke: "#14FFFFFF",
            recordingGlow: "#FF3366", warningGlow: "#FF8800",
            idleBubbleWidth: 60, recordingBubbleWidth: 100, processingBubbleWidth: 73,
            bubbleHeight: 48, bubbleCornerRadius: 20, bubbleHorizontalPadding: 21,
            bubbleVerticalPadding: 12, idleIconSize: 36, processingSpinnerSize: 16,
            waveBarWidth: 3, waveBarSpacing: 3, waveBarMaxHeight: 18, waveBarCornerRadius: 1.5,
            showDurationMs: 80, hideDurationMs: 80, contentFadeDurationMs: 150,
            widthMorphDurationMs: 220, surfacePulseUpDurationMs: 120,
            surfacePulseDownDurationMs: 180, waveIntervalMs: 50, waveAnimationMs: 50,
            waveMinScale: 0.1
        };
        return Object.keys(tokens).map(name => ({tag: name, expected: tokens[name]}));
    }

    function test_tokens(data) {
        const actual = theme[data.tag];
        if (typeof data.expected === "string") {
            verify(Qt.colorEqual(actual, data.expected), `${data.tag} is ${actual}`);
        } else {
            compare(actual, data.expected);
        }
    }

    function test_everyTokenIsReadOnly_data() {
        return root.test_tokens_data();
    }

    function test_everyTokenIsReadOnly(data) {
        let refused = false;
        try {
            theme[data.tag] = data.expected;
        } catch (error) {
            refused = true;
        }
        verify(refused);
    }

    function test_waveShapeIsDeclared() {
        compare(theme.waveWeights, [0.4, 0.7, 1.0, 0.7, 0.4]);
        compare(theme.waveSmoothing, [0.35, 0.55, 1.0, 0.55, 0.35]);
    }
}

import QtQuick
import QtTest
import TarqLinux

Item {
    id: root

    width: 200
    height: 120

    ThemeTokens {
        id: theme
    }

    FloatingShell {
        id: shell

        anchors.centerIn: parent
        anchors.alignWhenCentered: false
        theme: theme
    }

    TestCase {
        name: "FloatingShell"
        when: windowShown

        property real highestPulse: 1.0

        Connections {
            target: shell

            function onPulseScaleChanged() {
                testCase.highestPulse = Math.max(testCase.highestPulse, shell.pulseScale);
            }
        }

        id: testCase

        function init() {
            shell.visualState = "idle";
            shell.recordingWarning = false;
            tryCompare(shell, "width", 60);
            tryCompare(shell, "pulseScale", 1.0);
            testCase.highestPulse = 1.0;
        }

        function opacityOf(name: string): real {
            return findChild(shell, name).opacity;
        }

        function test_states_data() {
            return [
                {tag: "idle", state: "idle", width: 60, icon: 0.65, bars: 0.0, spinner: 0.0,
                 start: "#C1171E2D", end: "#D1242F43", stroke: "#3EFFFFFF"},
                {tag: "recording", state: "recording", width: 100, icon: 0.0, bars: 1.0,
                 spinner: 0.0, start: "#CA243246", end: "#D243608A", stroke: "#55DCF0FF"},
                {tag: "processing", state: "processing", width: 73, icon: 0.0, bars: 0.0,
                 spinner: 1.0, start: "#C41D2636", end: "#D03A4E70", stroke: "#50E7F2FF"},
                {tag: "any other draws as idle", state: "paused", width: 60, icon: 0.65,
                 bars: 0.0, spinner: 0.0, start: "#C1171E2D", end: "#D1242F43",
                 stroke: "#3EFFFFFF"}
            ];
        }

        function test_states(data) {
            shell.visualState = data.state;
            tryCompare(shell, "width", data.width);
            compare(shell.height, 48);
            tryVerify(() => Math.abs(opacityOf("idleIcon") - data.icon) < 0.001);
            tryVerify(() => Math.abs(opacityOf("waveBars") - data.bars) < 0.001);
            tryVerify(() => Math.abs(opacityOf("processingSpinner") - data.spinner) < 0.001);
            tryVerify(() => Qt.colorEqual(shell.currentGradStart, data.start));
            tryVerify(() => Qt.colorEqual(shell.currentGradEnd, data.end));
            tryVerify(() => Qt.colorEqual(shell.currentStroke, data.stroke));
            compare(findChild(shell, "recordingDot").visible, data.state === "recording");
            compare(findChild(shell, "recordingGlow").visible, data.state === "recording");
        }

        function test_growsToBothSides() {
            const centre = shell.x + shell.width / 2;
            shell.visualState = "recording";
            tryCompare(shell, "width", 100);
            fuzzyCompare(shell.x + shell.width / 2, centre, 0.01);
        }

        function test_spinnerRunsOnlyWhileItShows() {
            const spinner = findChild(shell, "processingSpinner");
            verify(!spinner.running);
            shell.visualState = "processing";
            tryCompare(spinner, "running", true);
            const angle = spinner.angle;
            tryVerify(() => spinner.angle !== angle);
            shell.visualState = "idle";
            tryCompare(spinner, "running", false);
        }

        function test_dotIsRedAndOrangeWhileWarning() {
            shell.visualState = "recording";
            const dot = findChild(shell, "recordingDot");
            verify(Qt.colorEqual(dot.color, "#FF0000"));
            shell.recordingWarning = true;
            tryVerify(() => Qt.colorEqual(dot.color, "#FF8800"));
            verify(Qt.colorEqual(findChild(shell, "recordingGlow").color, "#FF8800"));
        }

        function test_dotStaysHiddenWithAWarningOutsideOfRecording() {
            shell.recordingWarning = true;
            verify(!findChild(shell, "recordingDot").visible);
            verify(!findChild(shell, "recordingGlow").visible);
        }

        function test_dotBreathesAndStartsFromNothing() {
            const dot = findChild(shell, "recordingDot");
            compare(dot.opacity, 0);
            shell.visualState = "recording";
            tryVerify(() => dot.opacity > 0.9);
            const glow = findChild(shell, "recordingGlow");
            fuzzyCompare(glow.opacity, dot.opacity * 0.2, 0.05);
            tryVerify(() => dot.opacity < 0.6);
            shell.visualState = "idle";
            compare(dot.opacity, 0);
        }

        function test_pulseRisesAndReturns() {
            shell.visualState = "recording";
            tryVerify(() => testCase.highestPulse > 1.029);
            tryCompare(shell, "pulseScale", 1.0);
            verify(testCase.highestPulse <= 1.03001);
        }

        function test_secondChangeRestartsThePulse() {
            shell.visualState = "recording";
            tryVerify(() => shell.pulseScale > 1.015);
            shell.visualState = "processing";
            verify(shell.pulseScale < 1.001);
            tryVerify(() => testCase.highestPulse > 1.029);
            tryCompare(shell, "pulseScale", 1.0);
            verify(testCase.highestPulse <= 1.03001);
        }
    }
}

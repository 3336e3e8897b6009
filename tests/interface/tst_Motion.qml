import QtQuick
import QtTest
import TarqLinux

// How long the bubble and the splash move, and in which way.
Item {
    id: root

    readonly property var expoOut: [0.22, 1.0, 0.36, 1.0, 1.0, 1.0]
    readonly property int endless: -1

    width: 200
    height: 120

    ThemeTokens {
        id: theme
    }

    FloatingShell {
        id: shell

        theme: theme
    }

    Component {
        id: mainDocument

        Main {}
    }

    Component {
        id: splashDocument

        SplashWindow {
            visible: false
        }
    }

    TestCase {
        id: testCase

        name: "Motion"
        when: windowShown

        function part(name: string): Item {
            const found = findChild(shell, name);
            verify(found !== null, name);
            return found;
        }

        // An easing is a type or the points of a curve.
        function verifyMotion(actual: var, duration: int, easing: var) {
            compare(actual.duration, duration);
            if (easing instanceof Array) {
                compare(actual.easing.length, easing.length);
                easing.forEach((value, i) => fuzzyCompare(actual.easing[i], value, 0.0001));
            } else {
                compare(actual.easing, easing);
            }
        }

        function test_pillGrowsAndShrinks() {
            verifyMotion(animations.behavior(shell, "width"), 220, [0.4, 0.0, 0.2, 1.0, 1.0, 1.0]);
        }

        function test_pillChangesItsColours_data() {
            return [{tag: "currentGradStart"}, {tag: "currentGradEnd"}, {tag: "currentStroke"}];
        }

        function test_pillChangesItsColours(data) {
            verifyMotion(animations.behavior(shell, data.tag), 220, Easing.OutCubic);
        }

        function test_contentsFade_data() {
            return [{tag: "idleIcon"}, {tag: "waveBars"}, {tag: "processingSpinner"}];
        }

        function test_contentsFade(data) {
            verifyMotion(animations.behavior(part(data.tag), "opacity"), 150, Easing.OutCubic);
        }

        function test_pillPulses() {
            const [up, down] = animations.heldBy(shell);
            verifyMotion(up, 120, root.expoOut);
            verifyMotion(down, 180, root.expoOut);
            compare([up.property, up.to, up.loops], ["pulseScale", 1.03, 1]);
            compare([down.property, down.to], ["pulseScale", 1]);
        }

        function test_dotChangesItsColour() {
            verifyMotion(animations.behavior(part("recordingDot"), "color"), 300, Easing.OutCubic);
            compare(animations.behavior(part("recordingGlow"), "color"), {});
        }

        function test_dotBreathes() {
            const [up, down] = animations.heldBy(part("recordingDot").parent);
            verifyMotion(up, 500, Easing.InOutSine);
            verifyMotion(down, 500, Easing.InOutSine);
            compare([up.property, up.to, up.loops], ["opacity", 1, root.endless]);
            compare([down.property, down.to], ["opacity", 0.5]);
        }

        function test_barsRiseAndFall() {
            for (let i = 0; i < 5; ++i) {
                verifyMotion(animations.behavior(part("bar" + i), "height"), 50, root.expoOut);
            }
        }

        function test_spinnerTurns() {
            const [turn] = animations.heldBy(part("processingSpinner"));
            verifyMotion(turn, 900, Easing.Linear);
            compare([turn.property, turn.from, turn.to, turn.loops], ["angle", 0, 360, root.endless]);
        }

        function test_pressedPillShrinks() {
            const bubble = createTemporaryObject(mainDocument, null, {
                overlayStateModel: fixture.overlay,
                transcriptionPipeline: fixture.pipeline
            });
            const pill = findChild(bubble.contentItem, "shell");
            verifyMotion(animations.behavior(pill, "scale"), 100, Easing.OutCubic);
        }

        function test_splashFadesInRestsAndFadesOut() {
            const splash = createTemporaryObject(splashDocument, null);
            const [fadeIn, rest, fadeOut, end] = Array.from(animations.heldBy(splash))
                .concat(Array.from(animations.heldBy(splash.contentItem)));
            verifyMotion(fadeIn, 500, Easing.OutCubic);
            compare([fadeIn.property, fadeIn.from, fadeIn.to, fadeIn.loops], ["opacity", 0, 1, 1]);
            compare([rest.duration, rest.property], [600, undefined]);
            verifyMotion(fadeOut, 300, Easing.InCubic);
            compare([fadeOut.property, fadeOut.to], ["opacity", 0]);
            compare(end.duration, undefined);
        }
    }
}

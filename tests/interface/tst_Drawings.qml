import QtQuick
import QtTest
import TarqLinux

// What is drawn by strokes and gradients, pixel by pixel.
Rectangle {
    id: root

    width: 240
    height: 200
    color: "black"

    ThemeTokens {
        id: theme
    }

    ProcessingSpinner {
        id: spinner

        width: 160
        height: 160
        theme: theme
        running: false
        visible: false
    }

    IdleIcon {
        id: icon

        visible: false
    }

    GoogleIcon {
        id: google

        iconSize: 96
        visible: false
    }

    GitHubIcon {
        id: github

        iconSize: 96
        visible: false
    }

    Avatar {
        id: avatar

        width: 72
        email: "anna@example.org"
        letterSize: 30
        visible: false
    }

    TestCase {
        id: testCase

        property Item drawing: null
        property var image: null
        property color expected

        name: "Drawings"
        when: windowShown

        function cleanup() {
            drawing.visible = false;
        }

        // Shows one of them until this pixel of it is drawn, and keeps its picture.
        function show(shown: Item, x: int, y: int) {
            drawing = shown;
            drawing.visible = true;
            tryVerify(() => {
                image = grabImage(drawing);
                return light(x, y) > 0;
            });
        }

        // From 0 to 1, in the channel that all of them are brightest in.
        function light(x: int, y: int): real {
            return Math.max(image.red(x, y), image.green(x, y), image.blue(x, y)) / 255;
        }

        function verifyColor(x: int, y: int, shade: var) {
            expected = shade;
            const wanted = [expected.r, expected.g, expected.b].map(value => Math.round(255 * value));
            const found = [image.red(x, y), image.green(x, y), image.blue(x, y)];
            verify(found.every((value, i) => Math.abs(value - wanted[i]) <= 3),
                   `${found} at ${x}, ${y} in place of ${wanted}`);
        }

        // Waits for the drawing to be painted anew.
        function tryColor(x: int, y: int, shade: var) {
            expected = shade;
            tryVerify(() => {
                image = grabImage(drawing);
                return Math.abs(image.red(x, y) / 255 - expected.r) < 0.02
                    && Math.abs(image.blue(x, y) / 255 - expected.b) < 0.02;
            });
        }

        // A colour that lets the black below show.
        function dimmed(shade: var, alpha: real): color {
            expected = shade;
            return Qt.rgba(expected.r * alpha, expected.g * alpha, expected.b * alpha, 1);
        }

        // A point of the spinner's circle, clockwise from the right.
        function onCircle(angle: real): real {
            return light(80 + 78.5 * Math.cos(angle), 80 + 78.5 * Math.sin(angle));
        }

        function test_spinnerIsAnArcOfItsLength() {
            show(spinner, 158, 85);
            for (const angle of [0.05, 0.5, 1.0, 1.5, 1.78]) {
                verify(onCircle(angle) > 0.4, `lit at ${angle}`);
            }
            for (const angle of [1.85, 2.5, 3.5, 4.5, 5.5, 6.23]) {
                compare(onCircle(angle), 0, `dark at ${angle}`);
            }
            verifyColor(158, 85, "#F7F9FC");
        }

        function test_spinnerIsTwoPixelsThickWithRoundEnds() {
            show(spinner, 158, 85);
            const sum = (pixels) => pixels.reduce((total, value) => total + value, 0) / (0xFC / 255);
            const lowest = Array.from({length: 12}, (unused, i) => light(80, 148 + i));
            fuzzyCompare(sum(lowest), 2, 0.1);
            // Just before its start: half a disc of the line's width, where a square end has two pixels.
            const before = Array.from({length: 12}, (unused, i) => light(148 + i, 79));
            fuzzyCompare(sum(before), Math.PI / 2, 0.2);
        }

        function test_spinnerTurnsClockwise() {
            show(spinner, 158, 85);
            spinner.angle = 90;
            tryVerify(() => {
                image = grabImage(drawing);
                return onCircle(0.5) === 0;
            });
            for (const angle of [0.1, 1.0, 1.8, 3.3]) {
                compare(onCircle(Math.PI / 2 + angle) > 0.4, angle < 1.8 + 0.01, `at ${angle}`);
            }
            spinner.angle = 0;
        }

        function test_idleIconIsADiscAndAnArc() {
            icon.width = 108;
            icon.height = 108;
            show(icon, 54, 54);
            for (const [x, y] of [[54, 54], [33, 54], [74, 54], [54, 33], [54, 74], [83, 40], [85, 54],
                                  [82, 66]]) {
                verifyColor(x, y, dimmed("#F7F9FC", 0.94));
            }
            for (const [x, y] of [[30, 54], [78, 54], [54, 30], [54, 78], [36, 36], [72, 72], [90, 54],
                                  [70, 32], [70, 76], [84, 30], [84, 78]]) {
                verifyColor(x, y, "black");
            }
        }

        function test_idleIconIsPaintedAnew() {
            icon.width = 108;
            icon.height = 108;
            show(icon, 54, 54);
            icon.tint = "#FF0000";
            tryColor(54, 54, dimmed("#FF0000", 0.94));
            icon.width = 54;
            icon.height = 54;
            tryColor(42, 27, dimmed("#FF0000", 0.94)); // the arc
            verifyColor(39, 27, "black");
            icon.tint = "#F7F9FC";
        }

        function test_googleMarkHasItsFourColours() {
            show(google, 48, 8);
            verifyColor(48, 8, "#EA4335");
            verifyColor(80, 48, "#4285F4");
            verifyColor(48, 88, "#34A853");
            verifyColor(10, 48, "#FBBC05");
            verifyColor(48, 30, "black");
        }

        function test_gitHubMarkIsPaintedAnew() {
            show(github, 48, 4);
            verifyColor(48, 4, "white");
            verifyColor(1, 1, "black");
            verifyColor(48, 94, "black");
            github.tint = "#00FF00";
            tryColor(48, 4, "#00FF00");
            github.tint = "#FFFFFF";
        }

        function test_avatarIsADiscThatDarkensDownwards() {
            show(avatar, 36, 1);
            verifyColor(36, 1, "#8FE9FF");
            verifyColor(36, 70, "#5ABCD8");
            verifyColor(4, 36, Qt.rgba((0x8F + 0x5A) / 510, (0xE9 + 0xBC) / 510, (0xFF + 0xD8) / 510, 1));
            for (const [x, y] of [[2, 2], [69, 2], [2, 69], [69, 69]]) {
                verifyColor(x, y, "black");
            }
            const letter = Array.from({length: 40}, (unused, i) => light(16 + i, 40));
            fuzzyCompare(Math.min(...letter), 0x0F / 255, 0.02);
        }
    }
}

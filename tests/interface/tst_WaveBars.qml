import QtQuick
import QtTest
import TarqLinux

Rectangle {
    id: root

    width: 100
    height: 60
    color: "black"

    ThemeTokens {
        id: theme
    }

    WaveBars {
        id: bars

        theme: theme
    }

    TestCase {
        name: "WaveBars"
        when: windowShown

        function init() {
            bars.barScales = [0.1, 0.1, 0.1, 0.1, 0.1];
            tryVerify(() => Math.abs(bar(2).height - 1.8) < 0.01 && Math.abs(bar(3).height - 1.8) < 0.01);
        }

        function bar(index: int): Item {
            return findChild(bars, "bar" + index);
        }

        function test_size() {
            compare(bars.implicitWidth, 27);
            compare(bars.implicitHeight, 18);
        }

        function test_heightFollowsTheScale_data() {
            return [
                {tag: "rest", scale: 0.1, height: 1.8},
                {tag: "below the rest", scale: 0.02, height: 1.8},
                {tag: "negative", scale: -1.0, height: 1.8},
                {tag: "half", scale: 0.5, height: 9.0},
                {tag: "full", scale: 1.0, height: 18.0}
            ];
        }

        function test_heightFollowsTheScale(data) {
            bars.barScales = [0.1, 0.1, data.scale, 1.0, 0.1];
            // The bars move together: when the one beside it has arrived, this one has too, even if it
            // should end where it began.
            tryVerify(() => Math.abs(bar(3).height - 18) < 0.01);
            fuzzyCompare(bar(2).height, data.height, 0.01);
            fuzzyCompare(bar(1).height, 1.8, 0.01);
            // Centred in its cell, so that it grows to both sides.
            fuzzyCompare(bar(2).y + bar(2).height / 2, 9, 0.01);
        }

        function test_barsFillTheirCells() {
            bars.barScales = [1.0, 1.0, 1.0, 1.0, 1.0];
            tryVerify(() => Math.abs(bar(3).height - 18) < 0.01);
            waitForRendering(bars);
            const picture = grabImage(bars);
            for (let x = 0; x < 27; ++x) {
                compare(picture.red(x, 9), x % 6 < 3 ? 0xF7 : 0, "column " + x);
            }
        }

        function test_looks() {
            for (let i = 0; i < 5; ++i) {
                compare(bar(i).width, 3);
                compare(bar(i).radius, 1.5);
                verify(Qt.colorEqual(bar(i).color, "#F7F9FC"));
            }
            compare(bar(1).parent.x, 6);
        }
    }
}

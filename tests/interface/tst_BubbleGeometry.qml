import QtQuick
import QtTest
import TarqLinux

// Where the bubble's parts lie, by what is on the screen.
Item {
    id: root

    Component {
        id: mainDocument

        Main {}
    }

    TestCase {
        id: testCase

        // The middle of the pill in the window, as the boundary of pixels.
        readonly property int middleX: 69
        readonly property int middleY: 43
        property var bubble: null
        property var image: null

        name: "BubbleGeometry"
        when: windowShown

        function init() {
            fixture.reset();
            bubble = mainDocument.createObject(null, {
                overlayStateModel: fixture.overlay,
                transcriptionPipeline: fixture.pipeline
            });
            tryCompare(bubble.contentItem, "width", 138);
        }

        function cleanup() {
            bubble.destroy();
        }

        function part(name: string): Item {
            const found = findChild(bubble.contentItem, name);
            verify(found !== null, name);
            return found;
        }

        // Waits for the end of all movement.
        function enter(state: string, width: int) {
            fixture.overlay.setVisualState(state);
            tryCompare(part("shell"), "width", width);
            tryCompare(part("shell"), "pulseScale", 1);
            for (const name of ["idleIcon", "waveBars", "processingSpinner"]) {
                const shown = {idle: "idleIcon", recording: "waveBars", processing: "processingSpinner"};
                tryVerify(() => (part(name).opacity > 0.6) === (name === shown[state])
                                && (part(name).opacity === 0 || part(name).opacity > 0.64));
            }
            image = grabImage(bubble.contentItem);
        }

        // The brightness of what is white, without the red dot and the pill beneath.
        function light(x: int, y: int): int {
            return Math.max(0, Math.min(image.red(x, y), image.green(x, y), image.blue(x, y)) - 150);
        }

        // The centre of gravity of what is light, as a point [x, y].
        function centreOfLight(pictures: var): var {
            let sum = 0;
            let sumX = 0;
            let sumY = 0;
            for (const picture of pictures) {
                image = picture;
                for (let y = middleY - 12; y < middleY + 12; ++y) {
                    for (let x = middleX - 18; x < middleX + 18; ++x) {
                        const weight = light(x, y);
                        sum += weight;
                        sumX += weight * (x + 0.5);
                        sumY += weight * (y + 0.5);
                    }
                }
            }
            verify(sum > 0);
            return [sumX / sum, sumY / sum];
        }

        function verifyCentred(point: var) {
            verify(Math.abs(point[0] - middleX) < 0.15 && Math.abs(point[1] - middleY) < 0.15,
                   "the middle of what is drawn is " + point);
        }

        function test_pillLiesInTheMiddle_data() {
            return [
                {tag: "idle", width: 60},
                {tag: "recording", width: 100},
                {tag: "processing", width: 73}
            ];
        }

        function test_pillLiesInTheMiddle(data) {
            enter(data.tag, data.width);
            const row = Array.from({length: 138}, (unused, x) => image.alpha(x, middleY) > 40);
            const column = Array.from({length: 110}, (unused, y) => image.alpha(middleX, y) > 40);
            compare(row.indexOf(true) + row.lastIndexOf(true) + 1, 2 * middleX);
            compare(column.indexOf(true) + column.lastIndexOf(true) + 1, 2 * middleY);
        }

        function test_barsLieInTheMiddle() {
            enter("recording", 100);
            verifyCentred(centreOfLight([image]));
        }

        function test_spinnerLiesInTheMiddle() {
            enter("processing", 73);
            const spinner = part("processingSpinner");
            painted.target = spinner;
            spinner.running = false;
            const pictures = [];
            // All four together look the same from every side.
            for (const angle of [1, 91, 181, 271]) {
                painted.clear();
                spinner.angle = angle;
                painted.wait();
                pictures.push(grabImage(bubble.contentItem));
            }
            verifyCentred(centreOfLight(pictures));
        }

        SignalSpy {
            id: painted

            signalName: "painted"
        }

        Connections {
            property var seen: []

            id: morph

            target: testCase.bubble === null ? null : testCase.part("shell")

            function onWidthChanged() {
                for (const name of ["idleIcon", "waveBars", "processingSpinner"]) {
                    const content = testCase.part(name);
                    const at = content.mapToItem(null, content.width / 2, content.height / 2);
                    morph.seen.push([at.x, at.y]);
                }
            }
        }

        function test_contentsStayWhileThePillGrowsAndShrinks() {
            morph.seen = [];
            enter("recording", 100);
            enter("processing", 73);
            enter("idle", 60);
            verify(morph.seen.length > 9);
            for (const point of morph.seen) {
                verify(Math.abs(point[0] - middleX) < 0.01 && Math.abs(point[1] - middleY) < 0.01,
                       "a content at " + point);
            }
        }
    }
}

import QtQuick
import QtTest
import TarqLinux

Item {
    id: root

    Component {
        id: mainDocument

        Main {}
    }

    TestCase {
        id: testCase

        // Where the pill is pressed, in the window.
        readonly property int gripX: 69
        readonly property int gripY: 43
        property var bubble: null

        name: "Bubble"
        when: windowShown

        function initTestCase() {
            fixture.reset();
            bubble = mainDocument.createObject(null, {
                overlayStateModel: fixture.overlay,
                transcriptionPipeline: fixture.pipeline
            });
        }

        function init() {
            fixture.reset();
            tryVerify(() => bubble.visible);
            // The pipeline loses a toggle that follows another within 300 ms.
            wait(310);
            fixture.takeToggle();
        }

        function cleanupTestCase() {
            bubble.destroy();
        }

        function press(button: int) {
            mousePress(bubble.contentItem, gripX, gripY, button);
        }

        // By this much from the press point, as long as the window hasn't moved itself.
        function moveBy(dx: int, dy: int, buttons: int) {
            mouseMove(bubble.contentItem, gripX + dx, gripY + dy, -1, buttons);
        }

        function release(button: int) {
            mouseRelease(bubble.contentItem, gripX, gripY, button);
        }

        function shell(): Item {
            return findChild(bubble.contentItem, "shell");
        }

        function test_windowIsAsLargeAsItsStates() {
            compare(bubble.width, 138);
            compare(bubble.height, 110);
            compare(bubble.title, "Tarq");
            fuzzyCompare(bubble.color.a, 0.004, 0.0001);
            verify(bubble.flags & Qt.FramelessWindowHint);
            verify(bubble.flags & Qt.WindowStaysOnTopHint);
        }

        function test_startsNearTheRightEdge() {
            compare(bubble.initialX(1280), 1280 - 138 - 6);
        }

        function test_startsAtAThirdOfTheHeight_data() {
            return [
                {tag: "large", height: 800, y: 288},
                {tag: "400 pixels", height: 400, y: 144},
                {tag: "200 pixels", height: 200, y: 96},
                {tag: "just above the floor", height: 270, y: 97}
            ];
        }

        function test_startsAtAThirdOfTheHeight(data) {
            compare(bubble.initialY(data.height), data.y);
        }

        function test_pillSitsAboveTheMiddle() {
            tryCompare(shell(), "width", 60);
            compare(shell().x, 39);
            compare(shell().y, (110 - 48) / 2 - 12);
        }

        function test_closeIsRefused() {
            bubble.close();
            verify(bubble.visible);
        }

        function test_menuGoesWithTheBubble() {
            const menu = bubble.contextMenuWindow;
            menu.openAt(bubble, 30, 30);
            tryVerify(() => menu.active);
            fixture.setSignedIn(false);
            tryVerify(() => !menu.visible);
        }

        function test_visibilityFollowsTheModel() {
            fixture.setSignedIn(false);
            tryVerify(() => !bubble.visible);
            fixture.setSignedIn(true);
            tryVerify(() => bubble.visible);
        }

        function test_clickToggles() {
            press(Qt.LeftButton);
            verify(!fixture.takeToggle());
            release(Qt.LeftButton);
            verify(fixture.takeToggle());
        }

        function test_movementOfEightPixelsIsAClick() {
            const x = bubble.x;
            press(Qt.LeftButton);
            moveBy(8, 8, Qt.LeftButton);
            moveBy(-8, -8, Qt.LeftButton);
            verify(!bubble.isDrag);
            release(Qt.LeftButton);
            verify(fixture.takeToggle());
            compare(bubble.x, x);
        }

        function test_movementOfNinePixelsIsADrag_data() {
            return [
                {tag: "right", dx: 9, dy: 0},
                {tag: "left", dx: -9, dy: 0},
                {tag: "down", dx: 0, dy: 9},
                {tag: "up", dx: 0, dy: -9}
            ];
        }

        function test_movementOfNinePixelsIsADrag(data) {
            const x = bubble.x;
            const y = bubble.y;
            press(Qt.LeftButton);
            moveBy(data.dx, data.dy, Qt.LeftButton);
            verify(bubble.isDrag);
            compare(bubble.x, x + data.dx);
            compare(bubble.y, y + data.dy);
            release(Qt.LeftButton);
            verify(!bubble.isDrag);
            verify(!fixture.takeToggle());
            // Where it was, for the next row.
            bubble.x = x;
            bubble.y = y;
        }

        function test_pressScalesThePillDown() {
            press(Qt.LeftButton);
            tryCompare(shell(), "scale", 0.90);
            release(Qt.LeftButton);
            tryCompare(shell(), "scale", 1.0);
        }

        function test_dragEndsThePressScale() {
            const x = bubble.x;
            press(Qt.LeftButton);
            tryCompare(shell(), "scale", 0.90);
            moveBy(9, 0, Qt.LeftButton);
            tryCompare(shell(), "scale", 1.0);
            release(Qt.LeftButton);
            bubble.x = x;
        }

        function test_bothButtonsGiveNoPressScale() {
            press(Qt.LeftButton);
            tryCompare(shell(), "scale", 0.90);
            mousePress(bubble.contentItem, gripX, gripY, Qt.RightButton);
            tryCompare(shell(), "scale", 1.0);
            mouseRelease(bubble.contentItem, gripX, gripY, Qt.RightButton);
            release(Qt.LeftButton);
            bubble.contextMenuWindow.close();
        }

        function test_rightButtonOpensTheMenuOnRelease() {
            const menu = bubble.contextMenuWindow;
            bubble.screenPressX = 1;
            press(Qt.RightButton);
            verify(!menu.visible);
            moveBy(40, 40, Qt.RightButton);
            verify(!bubble.isDrag);
            release(Qt.RightButton);
            verify(menu.visible);
            compare(bubble.screenPressX, 1);
            verify(!bubble.isDrag);
            verify(!fixture.takeToggle());
            menu.close();
        }

        function test_everyPressStartsTheIdleCountAnew_data() {
            return [
                {tag: "left", button: Qt.LeftButton},
                {tag: "right", button: Qt.RightButton}
            ];
        }

        function test_everyPressStartsTheIdleCountAnew(data) {
            fixture.waitForIdleCount();
            press(data.button);
            verify(fixture.idleCountMs() > 4000);
            release(data.button);
            bubble.contextMenuWindow.close();
        }

        function test_badgeShowsWithTheWarningInEveryState() {
            const badge = findChild(bubble.contentItem, "warningBadge");
            verify(!badge.visible);
            fixture.setWarning(true);
            for (const state of ["idle", "recording", "processing"]) {
                fixture.overlay.setVisualState(state);
                verify(badge.visible);
            }
            fixture.setWarning(false);
            verify(!badge.visible);
        }

        function test_pictureOfTheWarning() {
            fixture.overlay.setVisualState("recording");
            fixture.setWarning(true);
            tryCompare(shell(), "width", 100);
            tryVerify(() => findChild(shell(), "recordingDot").opacity > 0.9);
            verify(fixture.takePicture(bubble, "8-warning"));
        }

        function test_badgeHangsBelowThePill() {
            fixture.setWarning(true);
            const badge = findChild(bubble.contentItem, "warningBadge");
            const label = badge.children[0];
            compare(label.text, "click now");
            compare(label.font.pixelSize, 9);
            compare(badge.width, label.implicitWidth + 10);
            compare(badge.height, label.implicitHeight + 4);
            compare(badge.y, shell().y + shell().height + 4);
            fuzzyCompare(badge.x + badge.width / 2, shell().x + shell().width / 2, 0.01);
            verify(badge.y + badge.height <= bubble.height);
            verify(Qt.colorEqual(badge.color, "#CC000000"));
            verify(Qt.colorEqual(badge.border.color, "#FF6600"));
            verify(Qt.colorEqual(label.color, "#FF6600"));
        }
    }
}

import QtQuick
import QtTest
import TarqLinux

Item {
    id: root

    Component {
        id: mainDocument

        Main {}
    }

    SignalSpy {
        id: requests

        target: fixture.overlay
    }

    TestCase {
        id: testCase

        property var bubble: null
        property var menu: null

        name: "ContextMenu"
        when: windowShown

        function initTestCase() {
            fixture.reset();
            bubble = mainDocument.createObject(null, {
                overlayStateModel: fixture.overlay,
                transcriptionPipeline: fixture.pipeline
            });
            menu = bubble.contextMenuWindow;
            tryVerify(() => bubble.visible);
        }

        function init() {
            menu.openAt(bubble, 30, 30);
            // It gets the keyboard a moment after it shows.
            tryVerify(() => menu.active);
        }

        function cleanup() {
            menu.close();
        }

        function cleanupTestCase() {
            bubble.destroy();
        }

        function items(): var {
            return Array.from(menu.entries).filter(entry => entry.text !== undefined);
        }

        function test_wordsAndOrder() {
            compare(items().map(item => item.text),
                    ["Profile", "History", "Settings", "About Tarq", "Quit Tarq"]);
            // The line stands before the last entry.
            compare(Array.from(menu.entries).map(entry => entry.text === undefined),
                    [false, false, false, false, true, false]);
        }

        function test_looks() {
            compare(menu.width, 180);
            for (const item of items()) {
                compare(item.height, 36);
                compare(item.background.radius, 8);
                compare(item.contentItem.font.pixelSize, 13);
                compare(item.contentItem.font.weight, Font.Medium);
                compare(item.contentItem.leftPadding, 4);
            }
        }

        function test_highlightFollowsTheFocus() {
            const item = items()[1];
            verify(Qt.colorEqual(item.background.color, "transparent"));
            verify(Qt.colorEqual(item.contentItem.color, "#B3C0D6"));
            item.forceActiveFocus();
            verify(Qt.colorEqual(item.background.color, "#26FFFFFF"));
            verify(Qt.colorEqual(item.contentItem.color, "#F7F9FC"));
            compare(items().filter(other => other.highlighted).length, 1);
        }

        function test_choiceClosesAndRequests_data() {
            return [
                {tag: "Profile", index: 0, request: "profileRequested"},
                {tag: "History", index: 1, request: "historyRequested"},
                {tag: "Settings", index: 2, request: "settingsRequested"},
                {tag: "About Tarq", index: 3, request: "aboutRequested"}
            ];
        }

        function test_choiceClosesAndRequests(data) {
            requests.signalName = data.request;
            requests.clear();
            mouseClick(items()[data.index]);
            compare(requests.count, 1);
            verify(!menu.visible);
        }

        function test_keysMoveAndChoose() {
            requests.signalName = "historyRequested";
            requests.clear();
            fixture.pressKey(menu, Qt.Key_Down);
            fixture.pressKey(menu, Qt.Key_Down);
            fixture.pressKey(menu, Qt.Key_Return);
            compare(requests.count, 1);
            verify(!menu.visible);
        }

        function test_escapeCloses() {
            fixture.pressKey(menu, Qt.Key_Escape);
            verify(!menu.visible);
        }

        function test_pressOutsideCloses() {
            mousePress(menu.contentItem, -20, -20);
            verify(!menu.visible);
        }

        function test_staysOnTheScreen_data() {
            return [
                {tag: "right edge", x: 1142, y: 288},
                {tag: "bottom right corner", x: 1142, y: 690},
                {tag: "top left corner", x: 0, y: 0}
            ];
        }

        function test_staysOnTheScreen(data) {
            menu.close();
            bubble.x = data.x;
            bubble.y = data.y;
            menu.openAt(bubble, 69, 43);
            verify(menu.x >= 0);
            verify(menu.y >= 0);
            verify(menu.x + menu.width <= Screen.width);
            verify(menu.y + menu.height <= Screen.height);
        }
    }
}

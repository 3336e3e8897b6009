import QtQuick
import QtTest

// Tests of one window document. Each test function opens a window of its own, which is gone after it.
TestCase {
    id: testCase

    required property Component document
    property var subject: null

    when: windowShown

    function init() {
        failOnWarning(/./);
    }

    function cleanup() {
        if (subject !== null) {
            subject.destroy();
            subject = null;
        }
    }

    function open(properties: var) {
        subject = document.createObject(null, properties);
        subject.show();
        // Its contents get their size with the window's arrival on the screen.
        tryCompare(subject.contentItem, "width", subject.width);
    }

    // A request comes to nothing while the window manager is busy with the window's arrival.
    function activate() {
        tryVerify(() => {
            subject.requestActivate();
            return subject.active;
        });
    }

    function item(name: string): Item {
        const found = findChild(subject.contentItem, name);
        verify(found !== null, name);
        return found;
    }

    function hover(target: Item) {
        mouseMove(target, target.width / 2, target.height / 2);
        tryCompare(target, "hovered", true);
    }

    function pressOn(target: Item) {
        mousePress(target);
        tryCompare(target, "pressed", true);
    }

    function tryColor(actual: var, expected: string) {
        tryVerify(() => String(actual()) === expected.toLowerCase(), 5000,
                  expected + " expected, not " + actual());
    }

    // The background's and the text's colours at rest, under the pointer and pressed.
    function verifyButtonColors(button: Item, rest: var, hovered: var, pressed: var) {
        mouseMove(subject.contentItem, 1, subject.height - 1);
        tryCompare(button, "hovered", false);
        verifyColors(button, rest);
        hover(button);
        verifyColors(button, hovered);
        pressOn(button);
        verifyColors(button, pressed);
        mouseMove(subject.contentItem, 1, subject.height - 1);
        mouseRelease(subject.contentItem, 1, subject.height - 1);
    }

    function verifyColors(button: Item, colors: var) {
        if (colors.fill !== undefined) {
            tryColor(() => button.background.color, colors.fill);
        }
        if (colors.stroke !== undefined) {
            tryColor(() => button.background.border.color, colors.stroke);
        }
        if (colors.ink !== undefined) {
            const label = textItems(button)[0];
            tryColor(() => label.color, colors.ink);
        }
    }

    // The visible texts below an item, from top to bottom.
    function textItems(parent: Item): var {
        let found = [];
        for (const child of Array.from(parent.children)) {
            if (child.visible) {
                if (child.text !== undefined && child.elide !== undefined && child.text !== "") {
                    found.push(child);
                }
                found = found.concat(textItems(child));
            }
        }
        return found;
    }

    function texts(): var {
        return textItems(subject.contentItem).map(item => item.text);
    }

    function verifyNothingIsCutOff() {
        for (const text of textItems(subject.contentItem)) {
            const corner = text.mapToItem(subject.contentItem, 0, 0);
            verify(!text.truncated, text.text);
            verify(text.contentWidth <= text.width + 0.5, text.text);
            verify(corner.x >= 0 && corner.x + text.width <= subject.width, text.text);
            verify(corner.y >= 0 && corner.y + text.height <= subject.height, text.text);
        }
    }

    function verifyControlsHaveNames() {
        compare(fixture.namelessControls(subject), []);
    }

    function verifyFrame(title: string, width: int, height: int) {
        compare(subject.title, title);
        compare(subject.width, width);
        compare(subject.height, height);
        compare(String(subject.color), "#00000000");
        compare(subject.x, Math.round((Screen.width - width) / 2));
        compare(subject.y, Math.round((Screen.height - height) / 2));
    }

    // Drags at a point of the window that belongs to a drag area, or to none.
    function verifyDrags(x: int, y: int, drags: bool) {
        const oldX = subject.x;
        const oldY = subject.y;
        mousePress(subject.contentItem, x, y);
        mouseMove(subject.contentItem, x + 30, y + 20, -1, Qt.LeftButton);
        mouseRelease(subject.contentItem, x + 30, y + 20);
        compare(subject.x, drags ? oldX + 30 : oldX);
        compare(subject.y, drags ? oldY + 20 : oldY);
    }
}

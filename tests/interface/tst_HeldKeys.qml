import QtQuick
import QtTest
import TarqLinux

// What a control hears of a key that is held, event by event.
WindowTestCase {
    id: testCase

    readonly property var clickKeys: [
        {tag: "space", key: Qt.Key_Space},
        {tag: "return", key: Qt.Key_Return},
        {tag: "enter", key: Qt.Key_Enter}
    ]
    property int time: 1000

    name: "HeldKeys"
    document: Component {
        FramelessWindow {
            width: 300
            height: 200

            Column {
                PushButton {
                    objectName: "first"
                    text: "First"
                }
                PushButton {
                    objectName: "second"
                    text: "Second"
                }
                FormField {
                    objectName: "field"
                }
            }
        }
    }

    SignalSpy {
        id: first

        signalName: "clicked"
    }

    SignalSpy {
        id: second

        signalName: "clicked"
    }

    SignalSpy {
        id: accepted

        signalName: "accepted"
    }

    function init() {
        failOnWarning(/./);
        open({});
        activate();
        first.target = item("first");
        second.target = item("second");
        accepted.target = item("field");
        for (const spy of [first, second, accepted]) {
            spy.clear();
        }
        item("first").forceActiveFocus(Qt.TabFocusReason);
    }

    function press(key: int) {
        time += 40;
        keyboard.send(subject, true, key, time, false);
    }

    function release(key: int) {
        time += 40;
        keyboard.send(subject, false, key, time, false);
    }

    // A release and a press of the same time, which the platform may have recognized, or not.
    function repeat(key: int, marked: bool) {
        time += 40;
        keyboard.send(subject, false, key, time, marked);
        keyboard.send(subject, true, key, time, marked);
    }

    function test_heldKeyIsOneClick_data() {
        const patterns = {
            "marked": [true, true, true],
            "not marked": [false, false, false],
            "marked at last": [false, true, true],
            "marked at first": [true, true, false],
            "now and then": [true, false, true, false, true]
        };
        const rows = [];
        for (const row of clickKeys) {
            for (const [name, repeats] of Object.entries(patterns)) {
                rows.push({tag: row.tag + " " + name, key: row.key, repeats: repeats});
            }
        }
        return rows;
    }

    function test_heldKeyIsOneClick(data) {
        for (let round = 1; round <= 2; ++round) {
            press(data.key);
            for (const marked of data.repeats) {
                repeat(data.key, marked);
            }
            release(data.key);
            compare(first.count, round);
        }
        verify(!item("first").pressed);
    }

    function test_eachTapIsAClick_data() {
        return clickKeys;
    }

    function test_eachTapIsAClick(data) {
        for (let tap = 1; tap <= 3; ++tap) {
            press(data.key);
            release(data.key);
            compare(first.count, tap);
        }
    }

    function test_blankClicksWhenItIsReleased() {
        press(Qt.Key_Space);
        repeat(Qt.Key_Space, true);
        verify(item("first").pressed);
        compare(first.count, 0);
        release(Qt.Key_Space);
        compare(first.count, 1);
    }

    function test_heldKeyClicksNothingElse_data() {
        return clickKeys;
    }

    function test_heldKeyClicksNothingElse(data) {
        const before = data.key === Qt.Key_Space ? 0 : 1; // the others click as they go down
        press(data.key);
        item("second").forceActiveFocus(Qt.TabFocusReason);
        repeat(data.key, true);
        repeat(data.key, false);
        release(data.key);
        compare([first.count, second.count], [before, 0]);
        press(data.key);
        release(data.key);
        compare([first.count, second.count], [before, 1]);
    }

    function test_heldKeyClicksNothingWhenTheFocusComesBack() {
        press(Qt.Key_Space);
        item("second").forceActiveFocus(Qt.TabFocusReason);
        item("first").forceActiveFocus(Qt.TabFocusReason);
        repeat(Qt.Key_Space, false);
        release(Qt.Key_Space);
        compare([first.count, second.count], [0, 0]);
    }

    function test_keyThatWentDownElsewhereClicksNothing_data() {
        return clickKeys;
    }

    function test_keyThatWentDownElsewhereClicksNothing(data) {
        repeat(data.key, true);
        repeat(data.key, false);
        release(data.key);
        compare(first.count, 0);
    }

    // Its release went to a window of another program, of which Qt knows nothing.
    function test_firstPressAfterALostReleaseClicks_data() {
        return clickKeys;
    }

    function test_firstPressAfterALostReleaseClicks(data) {
        press(data.key);
        repeat(data.key, true);
        item("second").forceActiveFocus(Qt.TabFocusReason);
        time += 40;
        keyboard.send(subject, true, data.key, time, true);
        release(data.key);
        compare(second.count, 1);
    }

    function test_returnWhileABlankIsDownClicksNothing() {
        press(Qt.Key_Space);
        press(Qt.Key_Return);
        release(Qt.Key_Return);
        compare(first.count, 0);
        release(Qt.Key_Space);
        compare(first.count, 1);
    }

    function test_pointerTakesTheClickFromAHeldKey() {
        press(Qt.Key_Space);
        mouseClick(item("first"));
        compare(first.count, 1);
        release(Qt.Key_Space);
        compare(first.count, 1);
        verify(!item("first").pressed);
    }

    function test_returnWhileThePointerIsDownClicksNothing() {
        mousePress(item("first"));
        press(Qt.Key_Return);
        release(Qt.Key_Return);
        compare(first.count, 0);
        mouseRelease(item("first"));
        compare(first.count, 1);
    }

    function test_fieldTakesRepeatedBlanks() {
        item("field").forceActiveFocus();
        press(Qt.Key_Space);
        repeat(Qt.Key_Space, true);
        repeat(Qt.Key_Space, false);
        repeat(Qt.Key_Space, true);
        release(Qt.Key_Space);
        compare(item("field").text, "    ");
    }

    function test_fieldTakesNoBlanksOfAKeyHeldElsewhere() {
        press(Qt.Key_Space);
        item("field").forceActiveFocus();
        repeat(Qt.Key_Space, true);
        repeat(Qt.Key_Space, false);
        release(Qt.Key_Space);
        compare(item("field").text, "");
    }

    // As a program may type that doesn't wait between its keys.
    function test_keyIsNoRepeatOnceAnotherWentDown() {
        press(Qt.Key_Space);
        release(Qt.Key_Space);
        item("field").forceActiveFocus();
        for (const key of [Qt.Key_A, Qt.Key_Space]) {
            keyboard.send(subject, true, key, time, false);
            keyboard.send(subject, false, key, time, false);
        }
        compare(item("field").text, " ");
    }

    function test_heldReturnSubmitsAFieldOnce() {
        item("field").forceActiveFocus();
        press(Qt.Key_Return);
        repeat(Qt.Key_Return, true);
        repeat(Qt.Key_Return, false);
        release(Qt.Key_Return);
        compare(accepted.count, 1);
    }

    function test_heldTabWalksOn() {
        press(Qt.Key_Tab);
        verify(item("second").activeFocus);
        repeat(Qt.Key_Tab, true);
        verify(item("field").activeFocus);
    }
}

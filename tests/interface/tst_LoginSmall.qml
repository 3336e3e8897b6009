import QtQuick
import QtTest
import TarqLinux

// The login window where there is less room than its contents want.
LoginTestCase {
    id: testCase

    name: "LoginSmall"

    function test_longMessageWrapsAndIsScrolledTo() {
        subject.errorMessage = "Cannot start local sign-in listener. Check firewall (allow loopback) or "
            + "try email/password sign-in.";
        const box = item("messageBox");
        compare(box.children[0].lineCount, 2);
        const bottom = box.mapToItem(subject.contentItem, 0, box.height).y;
        verify(bottom <= subject.height - 20);
        verifyNothingIsCutOffBelow();
        verify(fixture.takePicture(subject, "login-long-error"));
    }

    // The message is there in full, whatever had to give way at the top.
    function verifyNothingIsCutOffBelow() {
        for (const text of textItems(item("messageBox"))) {
            verify(!text.truncated);
            verify(text.contentWidth <= text.width);
        }
    }

    function test_smallestWindowScrollsToWhatTheKeyboardReaches() {
        subject.width = subject.minimumWidth;
        subject.height = subject.minimumHeight;
        tryCompare(subject.contentItem, "height", 420);
        subject.errorMessage = "Wrong email or password. New here? Tap “Sign up” below.";
        verify(fixture.takePicture(subject, "login-smallest"));
        for (const text of textItems(item("rightPanel").parent)) {
            const x = text.mapToItem(subject.contentItem, 0, 0).x;
            verify(x >= 0 && x + text.width <= 560, text.text);
        }
        for (const name of ["googleButton", "forgotLink", "emailField", "submitButton"]) {
            const control = item(name);
            control.forceActiveFocus(Qt.TabFocusReason);
            const top = control.mapToItem(subject.contentItem, 0, 0).y;
            verify(top >= 0 && top + control.height <= 420, name + " at " + top);
        }
    }

    // As it is on a screen of 1024 by 600.
    function openOnSmallScreen() {
        subject.width = 716;
        subject.height = 420;
        tryCompare(subject.contentItem, "height", 420);
    }

    function test_smallScreenShowsTheWholeForm_data() {
        return [
            {tag: "sign in", signUp: false, last: "forgotLink"},
            {tag: "sign up", signUp: true, last: "modeToggle"}
        ];
    }

    function test_smallScreenShowsTheWholeForm(data) {
        openOnSmallScreen();
        subject.isSignUp = data.signUp;
        const form = item("form");
        tryVerify(() => form.contentHeight <= form.height);
        compare(form.contentY, 0);
        const link = item(data.last);
        verify(link.mapToItem(subject.contentItem, 0, link.height).y <= 420 - 20);
        verifyNothingIsCutOff();
        verify(fixture.takePicture(subject, "login-small-" + data.last));
    }

    function test_keyboardReachesEveryControlOfASmallScreen() {
        openOnSmallScreen();
        subject.errorMessage = "Wrong email or password. New here? Tap “Sign up” below.";
        const reached = [];
        for (let i = 0; i < 9; ++i) {
            const control = subject.activeFocusItem;
            reached.push(control.objectName);
            const top = control.mapToItem(subject.contentItem, 0, 0).y;
            // The first got the keyboard before the message came.
            verify(i === 0 || top >= 0 && top + control.height <= 420, control.objectName + " at " + top);
            keyClick(Qt.Key_Tab);
        }
        compare(reached, ["emailField", "passwordField", "showToggle", "submitButton", "modeToggle",
                          "forgotLink", "closeButton", "googleButton", "githubButton"]);
    }

    // Scrolls until the middle of a control lies in the strip that drags the window.
    function putUnderTheStrip(control: Item) {
        subject.width = subject.minimumWidth;
        subject.height = subject.minimumHeight;
        tryCompare(subject.contentItem, "height", 420);
        subject.infoMessage = "a\n".repeat(9) + "a"; // makes it long enough
        const form = item("form");
        tryVerify(() => form.contentHeight - form.height > 180);
        form.contentY += control.mapToItem(subject.contentItem, 0, control.height / 2).y - 24;
        compare(control.mapToItem(subject.contentItem, 0, control.height / 2).y, 24);
    }

    function test_buttonUnderTheStripIsClicked_data() {
        return [{tag: "google"}, {tag: "github"}];
    }

    function test_buttonUnderTheStripIsClicked(data) {
        const button = item(data.tag + "Button");
        putUnderTheStrip(button);
        hover(button);
        mouseClick(button);
        compare(fixture.openedUrls.length, 1);
        compare(new URL(fixture.openedUrls[0]).searchParams.get("provider"), data.tag);
        verify(subject.loading);
    }

    function test_stripDragsBesideAButton() {
        const button = item("googleButton");
        putUnderTheStrip(button);
        const left = button.mapToItem(subject.contentItem, 0, 0).x;
        const form = item("form");
        const scrolled = form.contentY;
        verifyDrags(left + 100, 24, false);
        verifyDrags(left - 10, 24, true);
        verifyDrags(left - 10, 47, true);
        verifyDrags(left - 10, 60, false);
        compare(form.contentY, scrolled);
    }

    function test_longDragMovesTheWindowAndScrollsNothing() {
        const button = item("googleButton");
        putUnderTheStrip(button);
        const form = item("form");
        const scrolled = form.contentY;
        const x = button.mapToItem(subject.contentItem, 0, 0).x - 10;
        const y = subject.y;
        mousePress(subject.contentItem, x, 40);
        for (const step of [12, 24, 36]) {
            mouseMove(subject.contentItem, x, 40 - step, -1, Qt.LeftButton);
        }
        mouseRelease(subject.contentItem, x, 4);
        compare(subject.y, y - 12 - 24 - 36);
        compare(form.contentY, scrolled);
    }
}

import contextlib
import os
import signal
from pathlib import Path

from harness.bubble import Bubble
from harness.desktop import VirtualDesktop
from harness.process import DeadlineExceeded
from harness.testcase import DictationTestCase

UTILITY = "_NET_WM_WINDOW_TYPE_UTILITY"
# xprop makes one atom of the three names: what lies behind this line is what a reader finds there.
STATES = "_NET_WM_STATE_ABOVE,_NET_WM_STATE_SKIP_TASKBAR,_NET_WM_STATE_SKIP_PAGER"

SETTLING_S = 2


class BubbleTestCase(DictationTestCase):
    def setUp(self):
        super().setUp()
        if self.starts_tarq:
            self.bubble = Bubble(self.desktop, self.tarq.process.pid)
            # By then Tarq has seen that the editor has the focus, too.
            self.bubble.wait_alone()

    def focus_what_takes_no_text(self) -> str:
        """A file manager's window, as far as its class can tell."""
        manager = self.desktop.spawn(["xterm", "-class", "Thunar", "-name", "thunar"])
        self.desktop.activate(manager.pid)
        return self.desktop.window_of(manager.pid)


class BubbleTest(BubbleTestCase):
    def test_it_floats_near_the_right_edge(self):
        at = self.bubble.geometry()
        self.assertEqual((at.x, at.y, at.width, at.height), (1280 - 138 - 6, 288, 138, 110))

    def test_two_clicks_dictate_into_the_editor(self):
        self.backend.set_transcript("clicked into place")
        self.bubble.click()
        self.tarq.wait_recording()
        self.bubble.click()
        self.editor.wait_for_text("clicked into place")
        self.spoken.append("clicked into place")

    def test_click_leaves_the_editor_the_target(self):
        self.focus_what_takes_no_text()
        self.editor.focus()
        self.test_two_clicks_dictate_into_the_editor()

    def test_drag_moves_it_and_dictates_nothing(self):
        before = self.bubble.geometry()
        self.bubble.drag(-200, 120)
        self.desktop.wait_until(
            lambda: self.bubble.geometry().x == before.x - 200, "the bubble to move"
        )
        self.assertEqual(self.bubble.geometry().y, before.y + 120)
        self.assertEqual(self.tarq.recordings(), [])

    def test_drag_off_the_screen_and_back(self):
        before = self.bubble.geometry()
        self.bubble.drag(60, 0)
        self.bubble.drag(-600, -280)
        self.bubble.drag(540, 280)
        self.desktop.wait_until(
            lambda: self.bubble.geometry().y == before.y, "the bubble to come back"
        )
        self.test_two_clicks_dictate_into_the_editor()

    def test_thousand_clicks_leave_it_whole(self):
        self.backend.set_transcript("and on")
        self.bubble.hover()
        self.desktop.run(["xdotool", "click", "--repeat", "1000", "--delay", "1", "1"])
        self.bubble.wait_shown()

        # Clicks are still on their way when the last one has been sent, so a toggle may meet any
        # state: it is repeated until nothing is recorded or uploaded for a while.
        def is_idle() -> bool:
            with contextlib.suppress(DeadlineExceeded):
                self.desktop.wait_until(self.tarq.recordings, "a recording", SETTLING_S)
                self.toggle()
                return False
            return True

        self.desktop.wait_until(is_idle, "the clicks to end", 30 * SETTLING_S)
        self.toggle()
        self.tarq.wait_recording()
        self.toggle()
        self.desktop.wait_until(lambda: not self.tarq.recordings(), "the upload to end")
        self.spoken.append("and on")

    def test_it_hides_when_nothing_takes_text_and_comes_back(self):
        self.focus_what_takes_no_text()
        self.bubble.wait_shown(False)
        self.assertEqual(self.tarq.toggle(), 0)
        self.bubble.wait_shown()

    def set_screen_width(self, mode: str, width: int) -> None:
        self.desktop.run(["xrandr", "--output", "screen", "--mode", mode])
        root = ["xwininfo", "-root"]
        self.desktop.wait_until(
            lambda: f"Width: {width}" in self.desktop.run(root).stdout, "the screen to change"
        )

    def test_screen_that_changes_its_size_keeps_it(self):
        timings = "38.25 800 832 912 1024 600 603 607 624".split()
        self.desktop.run(["xrandr", "--newmode", "small", *timings])
        self.desktop.run(["xrandr", "--addmode", "screen", "small"])
        self.set_screen_width("small", 800)
        self.set_screen_width("1280x800", 1280)
        self.bubble.wait_shown()
        self.editor.focus()
        self.test_two_clicks_dictate_into_the_editor()

    def test_restarted_window_manager_keeps_it(self):
        self.desktop.restart_window_manager()
        self.bubble.wait_shown()
        self.editor.focus()
        self.test_two_clicks_dictate_into_the_editor()


class ServerTest(BubbleTestCase):
    starts_tarq = False

    def _end_tarq(self):
        """The program has ended by itself; what Xlib and the driver write as they go is theirs."""

    def test_end_of_the_server_ends_the_program(self):
        # Qt leaves by exit() in the middle of everything, with all that the program holds; the
        # graphics driver, in a thread of its own, would go on using what the exit takes away.
        self.tarq.start(env={"ASAN_OPTIONS": "detect_leaks=0", "QSG_RENDER_LOOP": "basic"})
        os.kill(self.desktop.server.pid, signal.SIGKILL)
        self.assertEqual(self.tarq.process.wait(), 1)


class FocusTest(BubbleTestCase):
    starts_tarq = False
    window_manager = "openbox"

    def make_session(self):
        return VirtualDesktop(window_manager=self.window_manager)

    def test_first_show_leaves_the_focus(self):
        self.editor.focus()
        focused = self.desktop.active_window()
        self.tarq.start()
        # The splash may take it, as any new window, and gives it back as it goes.
        Bubble(self.desktop, self.tarq.process.pid).wait_alone()
        self.desktop.wait_until(
            lambda: self.desktop.active_window() == focused, "the editor to have the focus again"
        )

    def test_show_after_the_hiding_leaves_the_focus(self):
        self.tarq.start()
        manager = self.focus_what_takes_no_text()
        bubble = Bubble(self.desktop, self.tarq.process.pid)
        bubble.wait_shown(False)
        self.tarq.toggle()
        bubble.wait_shown()
        self.assertEqual(self.desktop.active_window(), manager)


class FocusOnXfwm4Test(FocusTest):
    window_manager = "xfwm4"


class HintsTest(BubbleTestCase):
    def wait_for_hints(self) -> None:
        def has_hints() -> bool:
            kind = self.bubble.property("_NET_WM_WINDOW_TYPE")
            return (kind, self.bubble.property("_NET_WM_STATE")) == (UTILITY, STATES)

        self.desktop.wait_until(has_hints, "the hints")

    def test_type_and_state_are_set_after_the_show(self):
        self.wait_for_hints()

    def test_they_are_set_again_at_each_show(self):
        self.wait_for_hints()
        self.focus_what_takes_no_text()
        self.bubble.wait_shown(False)
        for name in ("_NET_WM_WINDOW_TYPE", "_NET_WM_STATE"):
            self.desktop.run(["xprop", "-id", self.bubble.window, "-remove", name])
        self.tarq.toggle()
        self.bubble.wait_shown()
        self.wait_for_hints()
        self.tarq.wait_recording()

    def test_bubble_lies_above_the_window_that_was_raised_last(self):
        self.wait_for_hints()
        self.focus_what_takes_no_text()
        stack = self.desktop.run(["xprop", "-root", "_NET_CLIENT_LIST_STACKING"]).stdout
        topmost = int(stack.split()[-1], 16)
        self.assertEqual(topmost, int(self.bubble.window))


class HintsWithoutXpropTest(BubbleTestCase):
    starts_tarq = False

    def test_without_xprop_the_bubble_shows_all_the_same(self):
        tools = self.desktop.root / "tools"
        tools.mkdir()
        for tool in ("setpriv", "xdotool"):
            (tools / tool).symlink_to(Path("/usr/bin") / tool)
        self.tarq.start(env={"PATH": str(tools)})
        bubble = Bubble(self.desktop, self.tarq.process.pid)
        bubble.wait_shown()
        self.assertNotEqual(bubble.property("_NET_WM_WINDOW_TYPE"), UTILITY)



"""Which window lies above which, where no window manager sees to it."""

import unittest

from harness.bubble import Bubble
from harness.desktop import VirtualDesktop
from harness.testcase import TarqTestCase

HISTORY = "Tarq"
SETTINGS = "Tarq — Settings"
# The middle of the screen, where all windows but the bubble start.
MIDDLE = ("640", "400")


class BareDesktop(VirtualDesktop):
    """Nobody but the program itself raises a window."""

    def _start_window_manager(self) -> None:
        pass


class StackingTest(TarqTestCase):
    def make_session(self):
        return BareDesktop()

    def setUp(self):
        super().setUp()
        self.backend.set_transcript("heard meanwhile")
        # For as long as a recording lasts, so does the bubble.
        self.start_recording()
        self.bubble = Bubble(self.desktop, self.tarq.process.pid)
        # The splash has the same title.
        self.desktop.wait_until(lambda: self.on_top() != HISTORY, "the splash to go")

    def test_window_that_is_asked_for_again_comes_to_the_top(self):
        self.show_history()
        self.wait_on_top(HISTORY)
        self.show_settings()
        self.wait_on_top(SETTINGS)
        self.show_history()
        self.wait_on_top(HISTORY)
        self.show_settings()
        self.wait_on_top(SETTINGS)
        self.toggle()
        self.desktop.wait_until(lambda: not self.tarq.recordings(), "the recording to go")

    def show_history(self) -> None:
        self.assertEqual(self.tarq.command().status, 0)

    def show_settings(self) -> None:
        self.bubble.open_menu().choose("Settings")

    def wait_on_top(self, title: str) -> None:
        self.desktop.wait_until(lambda: self.on_top() == title, f"{title!r} on top")

    def on_top(self) -> str:
        where = ["mousemove", *MIDDLE, "getmouselocation", "--shell"]
        found = self.desktop.run(["xdotool", *where]).stdout
        (window,) = [line[7:] for line in found.splitlines() if line.startswith("WINDOW=")]
        return self.desktop.run(["xdotool", "getwindowname", window], check=False).stdout.strip()


if __name__ == "__main__":
    unittest.main()

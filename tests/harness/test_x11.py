import re
import unittest

from harness.desktop import VirtualDesktop
from harness.x11 import look_at

UNMAPPED_AND_MAPPED = 'for i in $(seq 60); do xdotool windowunmap "$0" windowmap "$0"; done'


class LookTest(unittest.TestCase):
    def setUp(self):
        self.desktop = self.enterContext(VirtualDesktop())
        self.terminal = self.desktop.spawn(["xterm", "-geometry", "80x24+200+100"])
        self.window = self.desktop.window_of(self.terminal.pid)

    def look(self):
        return look_at(self.desktop.env["DISPLAY"], self.window)

    def test_place_and_size_are_those_of_xwininfo(self):
        told = self.desktop.run(["xwininfo", "-id", self.window]).stdout
        fields = ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")
        numbers = [int(re.search(rf"{field}: +(-?\d+)", told)[1]) for field in fields]
        seen = self.look()
        self.assertEqual([seen.x, seen.y, seen.width, seen.height], numbers)
        self.assertFalse(seen.override_redirect)

    def test_window_is_shown_or_hidden(self):
        self.assertTrue(self.look().shown)
        self.desktop.run(["xdotool", "windowunmap", "--sync", self.window])
        self.assertFalse(self.look().shown)

    def test_window_that_has_gone_is_none(self):
        self.terminal.stop()
        self.desktop.wait_until(lambda: self.look() is None, "the window to go")

    def test_frame_that_comes_and_goes_is_no_failure(self):
        coming_and_going = self.desktop.spawn(["sh", "-c", UNMAPPED_AND_MAPPED, self.window])
        seen = set()
        while coming_and_going.status is None:
            look = self.look()
            self.assertIsNotNone(look)
            seen.add(look.shown)
        self.assertEqual(seen, {True, False})


if __name__ == "__main__":
    unittest.main()

"""The icon that a window manager and a task switcher show."""

import unittest

from harness.desktop import VirtualDesktop
from harness.testcase import TarqTestCase

# Of assets/tarq-linux.svg: its ground, which is seen in the middle of the ring.
GROUND = 0xFF0C111A


class WindowIconTest(TarqTestCase):
    starts_tarq = False

    def make_session(self):
        return VirtualDesktop()

    def windows(self) -> list[str]:
        search = ["xdotool", "search", "--onlyvisible", "--pid", self.tarq.process.pid]
        return self.desktop.run(search, check=False).stdout.split()

    def middle_of_the_icon(self, window: str) -> int:
        """Of the first of its sizes; a window manager gives its own icon to a window without one."""
        text = self.desktop.run(["xprop", "-id", window, "32c", "_NET_WM_ICON"]).stdout
        width, height, *pixels = map(int, text.partition("= ")[2].split(","))
        return pixels[height // 2 * width + width // 2]

    def test_every_window_has_the_icon_of_the_program(self):
        self.start_tarq(signed_in=False)
        # The splash, and the login window beneath it.
        windows = self.desktop.wait_until(
            lambda: len(found := self.windows()) == 2 and found, "two windows"
        )
        self.assertEqual([self.middle_of_the_icon(window) for window in windows], [GROUND] * 2)


if __name__ == "__main__":
    unittest.main()

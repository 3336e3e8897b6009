"""The icon that a window manager and a task switcher show."""

import re
import unittest

from harness.desktop import VirtualDesktop
from harness.testcase import TarqTestCase


class WindowIconTest(TarqTestCase):
    starts_tarq = False

    def make_session(self):
        return VirtualDesktop()

    def test_every_window_has_the_icon_of_the_program(self):
        self.start_tarq(signed_in=False)
        search = ["xdotool", "search", "--onlyvisible", "--pid", self.tarq.process.pid]
        # The splash, and the login window beneath it.
        windows = self.desktop.wait_until(
            lambda: len(found := self.desktop.run(search, check=False).stdout.split()) == 2 and found,
            "two windows",
        )
        for window in windows:
            icon = self.desktop.run(["xprop", "-id", window, "32c", "_NET_WM_ICON"]).stdout
            sizes = re.findall(r"Icon \((\d+) x \1\)", icon) or re.findall(r"= (\d+), \1", icon)
            self.assertTrue(sizes, icon[:200])


if __name__ == "__main__":
    unittest.main()

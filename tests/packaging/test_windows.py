"""A desktop finds the desktop entry that a window belongs to, and with it the name and the icon."""

import configparser
import json
import unittest

from harness.backend import Backend
from harness.desktop import VirtualDesktop
from harness.process import exit_on_sigterm
from harness.sway import SwaySession
from harness.tarq import Tarq
from harness.testcase import program
from tests.packaging.support import PACKAGING

ENTRY = PACKAGING / "tarq-linux.desktop"


class WindowsTest(unittest.TestCase):
    def setUp(self):
        super().setUp()
        exit_on_sigterm()

    def start(self, session) -> Tarq:
        tarq = Tarq(session, program("tarq-linux"), Backend(session))
        self.addCleanup(tarq.stop)
        return tarq.start(signed_in=False)  # which shows the login window

    def test_class_on_x11_is_the_one_in_the_entry(self):
        desktop = self.enterContext(VirtualDesktop())
        window = desktop.window_of(self.start(desktop).process.pid)
        entry = configparser.ConfigParser(interpolation=None)
        entry.read(ENTRY, encoding="utf-8")
        shown = desktop.run(["xprop", "-id", window, "WM_CLASS"]).stdout
        self.assertEqual(shown.split('"')[3], entry["Desktop Entry"]["StartupWMClass"])

    def test_application_on_wayland_is_the_name_of_the_entry(self):
        desktop = self.enterContext(SwaySession())
        self.start(desktop)

        def windows() -> list[dict]:
            tree = json.loads(desktop.run(["swaymsg", "--type", "get_tree", "--raw"]).stdout)
            return [node for node in nodes_of(tree) if node.get("app_id")]

        shown = desktop.wait_until(windows, "a window")
        self.assertEqual({node["app_id"] for node in shown}, {ENTRY.stem})


def nodes_of(tree: dict):
    yield tree
    for node in [*tree["nodes"], *tree["floating_nodes"]]:
        yield from nodes_of(node)


if __name__ == "__main__":
    unittest.main()

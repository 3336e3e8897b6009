"""Dictations into the windows of KDE's compositor, with TARQ_ASSIST=wayland and hold."""

import unittest

from assisted import AssistedDictations, AssistedTestCase
from harness.kwin import KwinSession
from harness.portals import has_interface


# Of the hold that begins a recording, 1.5 s; and one that is too short.
HOLD_S, TAP_S = 3, 0.5


class AssistedKwinTest(AssistedDictations, AssistedTestCase):
    way = "clipboard by wl-copy, keys by the desktop portal"
    features = "wayland,hold"

    def make_session(self) -> KwinSession:
        return KwinSession()

    def test_hotkey_is_held_where_the_portal_is_told_names(self):
        process = self.start_tarq()
        if not has_interface(self.desktop, "org.freedesktop.host.portal.Registry"):
            process.wait_for_line("watches for no hotkey: it has no desktop portal of version 1.20")
            return
        process.wait_for_line("Wayland: hold the hotkey to record, which the desktop calls .*Meta")
        self.desktop.hold_super_and_space(TAP_S)
        self.backend.set_transcript("held and spoken")
        self.desktop.hold_super_and_space(HOLD_S)
        self.wait_delivered(["held and spoken"])
        self.check_focus()


if __name__ == "__main__":
    unittest.main()

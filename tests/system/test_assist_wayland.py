"""Dictations into Wayland windows with TARQ_ASSIST=wayland, on a compositor that knows nothing of Tarq."""

import unittest

from assisted import AssistedDictations, AssistedTestCase
from harness.sway import SwaySession
from harness.targets import Terminal


class AssistedSwayTest(AssistedDictations, AssistedTestCase):
    way = "clipboard by wl-copy, keys by wtype"

    def make_session(self) -> SwaySession:
        return SwaySession(xwayland=True)

    def test_dictation_arrives_in_a_terminal(self):
        self.start_tarq()
        terminal = Terminal(self.desktop)
        self.backend.set_transcript("in a terminal")
        self.record()
        terminal.wait_for_text("in a terminal")

    def test_without_wl_copy_no_key_is_pressed_and_the_log_says_where_the_text_is(self):
        tools = self.desktop.root / "tools"
        tools.mkdir()
        for tool in ("wtype", "xdotool", "xprop", "pactl"):
            (tools / tool).symlink_to(f"/usr/bin/{tool}")
        process = self.start_tarq(str(tools), "clipboard by nothing, keys by wtype")
        process.wait_for_line("Install wl-clipboard, so that")
        self.expected_log = [
            r"^\[1\] Text injection failed: Tarq can't reach the clipboard here\."
            r" The text is in the history\. \(\?:0\)$"
        ]
        self.backend.set_transcript("kept")
        self.record()
        process.wait_for_line("Text injection failed")
        self.assertEqual(self.tarq.history(), ["kept"])
        # What is typed now comes after whatever would have been pasted.
        self.desktop.type("end")
        self.editor.wait_for_text("end")


if __name__ == "__main__":
    unittest.main()

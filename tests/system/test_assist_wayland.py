"""Dictations into Wayland windows with TARQ_ASSIST=wayland, where sway knows nothing of Tarq."""

import unittest

from assisted import AssistedDictations, AssistedTestCase
from harness.log import without_start
from harness.sway import SwaySession
from harness.targets import Terminal
from wayland import NO_LEAK_CHECK


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

    def test_without_the_feature_qt_chooses_the_platform_and_nothing_is_logged(self):
        self.tarq.start(
            env={"TARQ_ASSIST": "repeat", "ASAN_OPTIONS": NO_LEAK_CHECK},
            wrapper=["env", "-u", "QT_QPA_PLATFORM"],
        )
        self.desktop.wait_until(
            lambda: self.desktop.windows_of(self.tarq.process.pid), "the splash"
        )
        self.assertEqual(
            {w["app_id"] for w in self.desktop.windows_of(self.tarq.process.pid)}, {"tarq-linux"}
        )
        # What is done at a start has been done by the time that a message has been read.
        self.assertEqual(self.tarq.toggle(), 0)
        self.assertEqual(without_start(self.tarq.lines), [])
        self.assertFalse((self.tarq.config / "remote-keyboard.json").exists())


if __name__ == "__main__":
    unittest.main()

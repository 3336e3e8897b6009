"""Dictations under a Wayland compositor, driven by a key binding's `--toggle`.

The clipboard of a program is only taken by the compositor together with the serial of
a recent input event. Tarq never had one: it has no focused window here, and the user's
key press went to the compositor. So the compositor passes over the transcript, without
telling anybody, and the paste keys paste what the clipboard held before. The text isn't
lost, as the history has it. These tests pin what happens, so that a change is noticed.
"""

import unittest

from harness.sway import SwaySession
from harness.testcase import DictationTestCase

# The data of a clipboard that wasn't taken is never freed by Qt, and without a frame pointer in
# Qt and the Wayland libraries the report can't be told from others.
NO_LEAK_CHECK = "detect_leaks=0"


class WaylandTest(DictationTestCase):
    starts_tarq = False

    def make_session(self) -> SwaySession:
        return SwaySession()

    def start_tarq(self, wrapper=()) -> None:
        asan = ":".join(filter(None, [self.desktop.env.get("ASAN_OPTIONS"), NO_LEAK_CHECK]))
        super(DictationTestCase, self).start_tarq(env={"ASAN_OPTIONS": asan}, wrapper=wrapper)
        # The compositor gives each new window the focus: the splash, and the bubble beneath it.
        process = self.tarq.process
        self.desktop.wait_until(
            lambda: len(self.desktop.windows_of(process.pid)) == 2, "the splash and the bubble"
        )
        self.editor.focus()

    def watched_paste_tool(self) -> list[str]:
        """A wrapper that gives Tarq a wtype which leaves its arguments in a file at its end."""
        self.pasted = self.desktop.root / "pasted"
        script = self.desktop.write(
            "wtype", f'#!/bin/sh\n/usr/bin/wtype "$@" && echo "$@" > {self.pasted}\n'
        )
        script.chmod(0o755)
        return ["env", f"PATH={self.desktop.root}:/usr/bin"]

    def wait_pasted(self) -> None:
        """Wait until the paste keys have been pressed, whatever came of it."""

        def keys() -> str:
            return self.pasted.read_text() if self.pasted.exists() else ""

        self.desktop.wait_until(keys, "the paste keys")
        self.assertEqual(keys(), "-M ctrl v -m ctrl\n")

    def test_dictation_reaches_the_history_but_not_the_clipboard(self):
        sentence = "please write this sentence into my editor"
        self.start_tarq(self.watched_paste_tool())
        self.start_recording()
        self.speak(sentence)
        self.toggle()
        self.wait_pasted()
        self.assertEqual(self.tarq.history(), [sentence])
        self.assertEqual([request["status"] for request in self.backend.requests()], [200])
        self.assertEqual(self.tarq.recordings(), [])
        self.assertEqual(self.desktop.clipboard(), "")
        # What is typed now comes after the paste keys.
        self.desktop.type("end")
        self.editor.wait_for_text("end")

    def test_paste_keys_paste_what_the_clipboard_held_before(self):
        self.start_tarq(self.watched_paste_tool())
        self.desktop.set_clipboard("copied earlier")
        self.backend.set_transcript("dictated")
        self.record()
        self.editor.wait_for_text("copied earlier")
        self.wait_pasted()
        self.assertEqual(self.desktop.clipboard(), "copied earlier")
        self.assertEqual(self.tarq.history(), ["dictated"])

    def test_missing_paste_tool_is_logged_and_the_history_has_the_text(self):
        self.expected_log = [r"^\[1\] Text injection failed: wtype not found \(\?:0\)$"]
        self.start_tarq(["env", f"PATH={self.desktop.root}"])
        self.backend.set_transcript("not pasted")
        self.record()
        self.tarq.process.wait_for_line("Text injection failed")
        self.assertEqual(self.tarq.history(), ["not pasted"])
        self.assertEqual(self.editor.text(), "")


if __name__ == "__main__":
    unittest.main()

"""Dictations into the windows of GNOME's shell, with TARQ_ASSIST=wayland."""

import ast
import unittest

from assisted import AssistedDictations, AssistedTestCase
from harness.gnome import GnomeSession
from harness.testcase import program


class AssistedGnomeTestCase(AssistedTestCase):
    way = "clipboard by Qt, keys by the desktop portal"

    # Qt loses what it knows of a pointer when GNOME's hands, which click here, are gone. Without a
    # frame pointer in Qt the report can't be told from others.
    asan_options = "detect_leaks=0"

    def make_session(self) -> GnomeSession:
        return GnomeSession()

    def wait_focused(self) -> None:
        """The question has taken the focus, which is back from now on."""
        self.desktop.wait_until(
            lambda: self.editor.process.lines[-1] == "focused", "the focus to come back"
        )
        self.focus_events = self.editor.process.lines


class AssistedGnomeTest(AssistedDictations, AssistedGnomeTestCase):
    def answer_questions(self) -> None:
        self.desktop.allow_keys()
        self.wait_focused()


class SetupOnGnomeTest(AssistedGnomeTestCase):
    KEYS = "org.gnome.settings-daemon.plugins.media-keys"
    # The session's own settings are forgotten by the tool that writes them.
    KEPT = {"GSETTINGS_BACKEND": "keyfile"}

    def settings(self, *words: str) -> str:
        return self.desktop.run(["gsettings", *words], env=self.KEPT).stdout.strip()

    def doctor(self, *arguments: str, stdin: str = "") -> str:
        env = {**self.tarq.environment(), **self.KEPT}
        return self.desktop.run([program("tarq-doctor"), *arguments], env=env, stdin=stdin).stdout

    def test_doctor_binds_a_key_and_takes_it_back(self):
        others = "['/others/']"
        self.settings("set", self.KEYS, "custom-keybindings", others)
        for _time in range(2):
            self.assertIn("Bound.", self.doctor("--setup", stdin="n\ny\n"))
        first, path = ast.literal_eval(self.settings("get", self.KEYS, "custom-keybindings"))
        self.assertEqual(first, "/others/")
        schema = f"{self.KEYS}.custom-keybinding:{path}"
        self.assertEqual(self.settings("get", schema, "command"), "'tarq-linux --toggle'")
        self.assertEqual(self.settings("get", schema, "binding"), "'<Super><Alt>space'")
        self.doctor("--undo")
        self.assertEqual(self.settings("get", self.KEYS, "custom-keybindings"), others)
        self.assertEqual(self.settings("get", schema, "command"), "''")


class RefusingGnomeTest(AssistedGnomeTestCase):
    expected_log = [
        r"^\[1\] Wayland: the desktop portal presses no keys: the permission was refused \(\?:0\)$",
        r"^\[1\] Text injection failed: The desktop doesn't let Tarq press keys\."
        r" The text is on the clipboard\. \(\?:0\)$",
    ]

    def answer_questions(self) -> None:
        self.desktop.refuse_keys()
        self.wait_focused()

    def test_refusal_leaves_the_text_on_the_clipboard_and_asks_no_more(self):
        process = self.start_tarq()
        self.backend.set_transcript("kept")
        self.record()
        process.wait_for_line("Text injection failed")
        self.assertEqual(self.desktop.clipboard(), "kept")
        self.assertEqual(self.tarq.history(), ["kept"])
        self.assertEqual(self.editor.text(), "")
        self.check_focus()


if __name__ == "__main__":
    unittest.main()

import re
import unittest

from harness.desktop import VirtualDesktop
from harness.process import DeadlineExceeded
from harness.targets import Editor, Terminal
from harness.testcase import program


class TargetsTest(unittest.TestCase):
    def setUp(self):
        self.desktop = self.enterContext(VirtualDesktop())

    def open_editor(self) -> Editor:
        return Editor(self.desktop, program("harness-editor"))

    def test_editor_takes_typed_keys(self):
        editor = self.open_editor()
        self.desktop.type("Hello, World")
        self.assertEqual(editor.wait_for_text("Hello, World"), "Hello, World")

    def test_editor_takes_a_paste(self):
        editor = self.open_editor()
        self.desktop.set_clipboard("grüße\nan alle")
        self.desktop.press("ctrl+v")
        editor.wait_for_text("grüße\nan alle")

    def test_text_is_matched_whole_and_patterns_are_searched(self):
        editor = self.open_editor()
        self.desktop.type("abc")
        editor.wait_for_text(re.compile("bc$"))
        with self.assertRaisesRegex(DeadlineExceeded, "it holds 'abc'"):
            editor.wait_for_text("ab", timeout=0.05)

    def test_focus_moves_between_two_editors(self):
        first, second = self.open_editor(), self.open_editor()
        self.desktop.type("two")
        second.wait_for_text("two")
        first.focus()
        self.desktop.type("one")
        first.wait_for_text("one")
        self.assertEqual(second.text(), "two")

    def test_closed_editor_has_no_window(self):
        editor = self.open_editor()
        window = self.desktop.window_of(editor.process.pid)
        editor.close()
        self.assertEqual(editor.process.status, 0, editor.process.log())
        name = self.desktop.run(["xdotool", "getwindowname", window], check=False)
        self.assertNotEqual(name.returncode, 0)

    def test_terminal_takes_a_paste_by_its_own_shortcut(self):
        terminal = Terminal(self.desktop)
        self.desktop.set_clipboard("from the clipboard")
        self.desktop.press("ctrl+shift+v")
        terminal.wait_for_text("from the clipboard")

    def test_terminal_takes_raw_keys(self):
        terminal = Terminal(self.desktop)
        self.desktop.set_clipboard("not this")
        self.desktop.type("ls")
        self.desktop.press("ctrl+v")
        self.desktop.press("Return")
        terminal.wait_for_text("ls\x16\r")


if __name__ == "__main__":
    unittest.main()

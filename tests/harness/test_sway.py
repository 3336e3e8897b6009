import unittest

from harness.session import processes_with_home
from harness.sway import SwaySession
from harness.targets import Editor
from harness.testcase import program


class SwayTest(unittest.TestCase):
    def test_editor_takes_keys_and_a_paste(self):
        with SwaySession() as session:
            editor = Editor(session, program("harness-editor"))
            session.type("typed ")
            editor.wait_for_text("typed ")
            session.set_clipboard("grüße")
            self.assertEqual(session.clipboard(), "grüße")
            session.press("ctrl+v")
            editor.wait_for_text("typed grüße")

    def test_focus_moves_between_two_editors(self):
        with SwaySession() as session:
            first, second = (Editor(session, program("harness-editor")) for _ in range(2))
            self.assertEqual(session.active_window(), second.process.pid)
            first.focus()
            session.type("one")
            first.wait_for_text("one")
            self.assertEqual(second.text(), "")

    def test_leaves_nothing_behind(self):
        with SwaySession() as session:
            picture = session.root / "screen.png"
            session.screenshot(picture)
            self.assertEqual(picture.read_bytes()[:4], b"\x89PNG")
            session.set_clipboard("owned by a process in the background")
        self.assertEqual(list(processes_with_home(session.home)), [])
        self.assertFalse(session.root.exists())


if __name__ == "__main__":
    unittest.main()

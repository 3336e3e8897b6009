"""Where the text goes when windows open, close and take the focus meanwhile."""

import unittest

from harness.targets import Terminal
from harness.testcase import DictationTestCase

# Long enough to move windows about while the answer is awaited.
ANSWER_DELAY_MS = 2000


class FileManager(Terminal):
    """A window that passes for a file manager, and shows every key it gets."""

    def __init__(self, session) -> None:
        super().__init__(session, "-class", "Thunar", "-name", "thunar")


class PasteTest(DictationTestCase):
    starts_tarq = False

    def send_recording(self, text: str) -> None:
        """Record, and return while the answer is still awaited."""
        self.backend.set_transcript(text)
        self.backend.script([{"recognise": True, "delay_ms": ANSWER_DELAY_MS}])
        self.record()
        self.backend.requests(wait_for=1)

    def start_without(self, tool: str) -> None:
        """Start Tarq where all tools but one are installed."""
        tools = self.desktop.root / "tools"
        tools.mkdir()
        for name in {"xdotool", "xprop"} - {tool}:
            (tools / name).symlink_to(f"/usr/bin/{name}")
        self.start_tarq(wrapper=["env", f"PATH={tools}"])

    def test_editor_is_raised_from_behind_a_file_manager(self):
        self.start_tarq()
        self.send_recording("into the editor")
        manager = FileManager(self.desktop)
        self.assertNotEqual(
            self.desktop.active_window(), self.desktop.window_of(self.editor.process.pid)
        )
        self.editor.wait_for_text("into the editor")
        self.assertEqual(
            self.desktop.active_window(), self.desktop.window_of(self.editor.process.pid)
        )
        self.assertEqual(manager.text(), "")

    def test_closed_editor_leaves_the_text_in_clipboard_and_history(self):
        self.expected_log = [
            r"^\[1\] Text injection failed: xdotool windowactivate failed \(\?:0\)$"
        ]
        self.start_tarq()
        manager = FileManager(self.desktop)
        self.editor.focus()
        self.send_recording("nowhere to go")
        self.editor.close()
        self.tarq.process.wait_for_line("Text injection failed")
        self.assertEqual(self.desktop.clipboard(), "nowhere to go")
        self.assertEqual(self.tarq.history(), ["nowhere to go"])
        self.assertEqual(self.tarq.recordings(), [])
        self.assertEqual(manager.text(), "")

    def test_next_dictation_after_a_closed_editor_goes_to_the_new_one(self):
        self.expected_log = ["Text injection failed: xdotool windowactivate failed"]
        self.start_tarq()
        self.send_recording("lost")
        self.editor.close()
        self.tarq.process.wait_for_line("Text injection failed")
        self.make_targets()
        self.backend.set_transcript("found")
        self.record()
        self.editor.wait_for_text("found")
        self.assertEqual(self.tarq.history(), ["found", "lost"])

    def test_missing_paste_tool_leaves_the_text_in_clipboard_and_history(self):
        self.expected_log = [r"^\[1\] Text injection failed: xdotool not found \(\?:0\)$"]
        self.start_without("xdotool")
        self.backend.set_transcript("not pasted")
        self.record()
        self.tarq.process.wait_for_line("Text injection failed")
        self.assertEqual(self.desktop.clipboard(), "not pasted")
        self.assertEqual(self.tarq.history(), ["not pasted"])
        self.assertEqual(self.editor.text(), "")

    def test_unknown_window_classes_leave_the_text_to_the_active_window(self):
        self.start_without("xprop")
        self.backend.set_transcript("in front")
        self.record()
        self.editor.wait_for_text("in front")


if __name__ == "__main__":
    unittest.main()

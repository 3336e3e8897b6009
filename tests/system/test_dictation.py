"""Dictations from the first toggle to the text in the window."""

import json
import unittest

from harness.targets import Terminal
from harness.testcase import DictationTestCase

SENTENCE = "please write this sentence into my editor"

# Longer than a second process needs to start and to send its toggle.
ANSWER_DELAY_MS = 3000


class DictationTest(DictationTestCase):
    def test_spoken_sentence_arrives_in_editor_clipboard_and_history(self):
        self.start_recording()
        self.speak(SENTENCE)
        self.toggle()
        self.editor.wait_for_text(SENTENCE)
        self.assertEqual(self.desktop.clipboard(), SENTENCE)
        self.assertEqual(self.tarq.history(), [SENTENCE])
        self.assertEqual(self.tarq.recordings(), [])

    def test_recording_grows_until_the_second_toggle_and_is_gone_with_the_text(self):
        self.backend.set_transcript("arrived")
        recording = self.start_recording()
        size = recording.stat().st_size
        self.desktop.wait_until(lambda: recording.stat().st_size > size, "more sound")
        self.assertEqual(self.backend.requests(), [])
        self.toggle()
        self.editor.wait_for_text("arrived")
        self.assertFalse(recording.exists())

    def test_worker_gets_one_request_with_the_token_and_the_recording(self):
        self.backend.script([{"recognise": True, "delay_ms": 1000}])
        self.backend.set_transcript("arrived")
        recording = self.record()
        self.backend.requests(wait_for=1)
        size = recording.stat().st_size
        self.editor.wait_for_text("arrived")

        (request,) = self.backend.requests()
        self.assertEqual(request["method"], "POST")
        self.assertEqual(request["path"], "/v1/audio/transcriptions")
        token = json.loads(self.tarq.keys_file.read_text())["accessToken"]
        self.assertEqual(request["headers"]["Authorization"], f"Bearer {token}")
        model, response_format, file = request["parts"]
        self.assertEqual((model["name"], model["text"]), ("model", "whisper-large-v3-turbo"))
        self.assertEqual(
            (response_format["name"], response_format["text"]), ("response_format", "json")
        )
        self.assertEqual((file["name"], file["filename"]), ("file", recording.name))
        self.assertEqual((file["content_type"], file["size"]), ("audio/wav", size))

    def test_toggle_during_the_request_does_nothing(self):
        self.backend.script([{"recognise": True, "delay_ms": ANSWER_DELAY_MS}])
        self.backend.set_transcript("arrived")
        recording = self.record()
        self.backend.requests(wait_for=1)
        self.toggle()
        (request,) = self.backend.requests()
        self.assertIsNone(request["answered_at"], "the toggle came after the answer")
        self.assertEqual(self.tarq.recordings(), [recording])
        self.editor.wait_for_text("arrived")
        self.assertEqual(len(self.backend.requests()), 1)
        self.assertEqual(self.tarq.recordings(), [])

    def test_dictations_follow_each_other_and_the_newest_leads_the_history(self):
        self.backend.set_transcript("one")
        self.record()
        self.editor.wait_for_text("one")
        self.backend.set_transcript("two")
        self.record()
        self.editor.wait_for_text("onetwo")
        self.assertEqual(self.tarq.history(), ["two", "one"])

    def test_terminal_gets_the_text_by_its_own_paste_keys(self):
        terminal = Terminal(self.desktop)
        self.backend.set_transcript("echo pasted")
        self.record()
        terminal.wait_for_text("echo pasted")
        self.assertEqual(self.editor.text(), "")

    def test_transcript_arrives_as_it_was_written(self):
        rest = "<b>&amp;</b>\tC:\\n “Grüße” 'x' 日本語 👩‍👩‍👧 ﷽ é\n\nend"
        text = f'say "%1 %2 %n"\n{rest}'
        self.backend.set_transcript(f" \n\t{text} \n")
        self.record()
        self.editor.wait_for_text(text)
        self.assertEqual(self.desktop.clipboard(), text)
        self.assertEqual(self.tarq.history(), [text])

    def test_long_transcript_arrives_whole(self):
        text = " ".join(f"wörd{number}" for number in range(3000))[:20_000]
        self.assertEqual(len(text), 20_000)
        self.backend.set_transcript(text)
        self.record()
        self.editor.wait_for_text(text)

    def test_answer_of_ten_megabytes_is_read(self):
        answer = {"padding": "x" * 10_000_000, "text": "arrived"}
        self.backend.script([{"body": answer}])
        self.record()
        self.editor.wait_for_text("arrived")


if __name__ == "__main__":
    unittest.main()

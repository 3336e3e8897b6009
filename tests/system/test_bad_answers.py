"""Answers of the worker that hold no transcript."""

import base64
import json
import unittest

from harness.log import without_start
from harness.testcase import TarqTestCase

WITHOUT_TEXT = {
    "an empty object": "{}",
    "an array of the right object": '[{"text": "spoken"}]',
    "another name": '{"TEXT": "spoken"}',
    "text deeper down": '{"result": {"text": "spoken"}}',
    "null": '{"text": null}',
    "a number": '{"text": 7}',
    "a truth value": '{"text": true}',
    "a list": '{"text": ["spoken"]}',
    "a table": '{"text": {"text": "spoken"}}',
    "an empty text": '{"text": ""}',
    "blanks": '{"text": " \\t\\r\\n\\u00a0 "}',
}
UNPARSABLE = {
    "nothing at all": "",
    "a bare string": '"spoken"',
    "a bare null": "null",
    "an end too soon": '{"text": "spoken',
    "rubbish at the end": '{"text": "spoken"} x',
    "a page": "<!DOCTYPE html><title>502</title>",
    "a number beyond all bounds": '{"text": 1e400}',
    "a tower of brackets": 100_000 * "[",
    "ten megabytes of nothing": 10_000_000 * " ",
    "bytes that aren't UTF-8": b'{"text": "\xff\xfe"}',
    "zeros": bytes(1000),
}


class BadAnswerTest(TarqTestCase):
    expected_log = ["Transcription failed: ", "Audio preserved at: "]

    def send_recording(self) -> None:
        """The shortest recording of all: whether it holds any sound makes no difference."""
        older = self.tarq.recordings()
        self.toggle()
        self.desktop.wait_until(lambda: self.tarq.recordings() != older, "a new recording")
        self.toggle()

    def check_kept(self, answers: dict[str, str | bytes], message: str) -> None:
        """Fails unless each answer fails a dictation in these words."""
        for count, (what, answer) in enumerate(answers.items(), start=1):
            with self.subTest(what):
                logged = len(self.tarq.process.lines)
                content = answer if isinstance(answer, bytes) else answer.encode()
                self.backend.script([{"body_base64": base64.b64encode(content).decode()}])
                self.send_recording()
                self.tarq.process.wait_for_line("Audio preserved at", since=logged)
                failed, _preserved = self.tarq.process.lines[logged:]
                self.assertRegex(failed, rf"^\[1\] Transcription failed: {message} \(\?:0\)$")
                self.assertEqual(len(self.tarq.recordings()), count)
        self.assertEqual(len(self.backend.requests()), len(answers))
        self.assertEqual(self.tarq.history(), [])

    def test_answers_without_text_keep_the_recording(self):
        self.check_kept(WITHOUT_TEXT, "Empty transcript")

    def test_answers_that_cannot_be_parsed_keep_the_recording(self):
        # What follows the colon are Qt's own words.
        self.check_kept(UNPARSABLE, "Failed to parse response: .+")

    def test_long_refusal_is_quoted_in_part(self):
        body = json.dumps({"error": 1000 * "z"})
        self.backend.script([{"status": 400, "body": body}])
        self.send_recording()
        self.tarq.process.wait_for_line("Audio preserved at")
        self.assertEqual(
            without_start(self.tarq.process.lines)[0],
            f"[1] Transcription failed: Request failed (HTTP 400): {body[:240]} (?:0)",
        )


if __name__ == "__main__":
    unittest.main()

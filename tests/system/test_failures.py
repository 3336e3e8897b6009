"""What is left of a dictation that fails on the way to the worker."""

import json
import unittest
from array import array
from pathlib import Path

from harness.testcase import DictationTestCase
from tests.system.support import samples_of

# Of 16-bit samples: far above a silent room, far below a voice.
AUDIBLE = 2000


def loudest_sample(recording: Path) -> int:
    return max(map(abs, array("h", samples_of(recording))), default=0)


class FailureTest(DictationTestCase):
    def test_text_arrives_at_the_third_attempt(self):
        retrying = (
            r"^\[1\] Transcription transient error \(attempt {} of 3 \): .*"
            r" — retrying in {} ms \(\?:0\)$"
        )
        self.expected_log = [retrying.format(1, 1000), retrying.format(2, 2000)]
        self.backend.script([{"status": 500}, {"status": 503}])
        self.backend.set_transcript("at last")
        self.record()
        self.editor.wait_for_text("at last")
        requests = self.backend.requests()
        self.assertEqual([request["status"] for request in requests], [500, 503, 200])
        # The file is sent anew each time, and whole.
        self.assertEqual(len({request["parts"][-1]["sha256"] for request in requests}), 1)
        self.assertEqual(len({request["headers"]["Authorization"] for request in requests}), 1)
        self.assertEqual(self.tarq.history(), ["at last"])
        self.assertEqual(self.tarq.recordings(), [])

    def test_recording_is_kept_when_no_attempt_succeeds(self):
        self.expected_log = [
            "attempt 1 of 3",
            "attempt 2 of 3",
            r"^\[1\] Transcription failed: Request failed \(HTTP 503\): too busy \(\?:0\)$",
            r"^\[1\] Audio preserved at: ",
        ]
        self.backend.script(3 * [{"status": 503, "body": "too busy"}])
        recording = self.record()
        self.tarq.process.wait_for_line("Audio preserved at")
        self.assertEqual(len(self.backend.requests()), 3)
        self.assertEqual(self.tarq.recordings(), [recording])
        self.assertEqual(self.tarq.history(), [])

    def test_dropped_connection_is_made_up_for_without_a_word(self):
        # Qt itself sends the request once more, before our own retries hear of it.
        self.backend.script([{"drop": True}])
        self.backend.set_transcript("at last")
        self.record()
        self.editor.wait_for_text("at last")
        self.assertEqual(self.tarq.recordings(), [])

    def test_refusal_is_final_and_keeps_the_recording(self):
        self.expected_log = [
            r"^\[1\] Transcription failed: Request failed \(HTTP 403\): not you \(\?:0\)$",
            r"^\[1\] Audio preserved at: ",
        ]
        self.backend.script([{"status": 403, "body": "not you"}])
        recording = self.record()
        self.tarq.process.wait_for_line("Audio preserved at")
        self.assertEqual(len(self.backend.requests()), 1)
        self.assertEqual(self.tarq.recordings(), [recording])

    def test_worker_that_is_down_loses_nothing_that_was_spoken(self):
        self.expected_log = [
            r"attempt 1 of 3 \): Connection refused — retrying in 1000 ms",
            r"attempt 2 of 3 \): Connection refused — retrying in 2000 ms",
            r"^\[1\] Transcription failed: Request failed \(HTTP 0\): Connection refused \(\?:0\)$",
            r"^\[1\] Audio preserved at: ",
        ]
        recording = self.start_recording()
        self.speak("keep my words")
        self.backend.stop()
        self.toggle()
        kept = self.tarq.process.wait_for_line(r"^\[1\] Audio preserved at: (.*) \(\?:0\)$")[1]
        self.assertEqual(kept, str(recording))
        self.assertGreater(loudest_sample(recording), AUDIBLE)
        self.assertEqual((self.editor.text(), self.tarq.history()), ("", []))

        # Nothing of it stands in the way of the next dictation.
        self.backend.restart()
        self.backend.set_transcript("back again")
        self.record()
        self.editor.wait_for_text("back again")
        self.assertEqual(self.tarq.recordings(), [recording])


class RefusedTokenTest(DictationTestCase):
    expected_log = [r"^\[1\] Audio preserved at: "]
    starts_tarq = False

    def check_refused(self) -> None:
        self.desktop.set_clipboard("what was there")
        recording = self.record()
        kept = self.tarq.process.wait_for_line(r"^\[1\] Audio preserved at: (.*) \(\?:0\)$")[1]
        self.assertEqual(kept, str(recording))
        self.assertEqual(self.tarq.recordings(), [recording])
        self.assertEqual([request["status"] for request in self.backend.requests()], [401])
        self.assertEqual(self.tarq.history(), [])
        self.assertEqual(self.desktop.clipboard(), "what was there")
        self.assertEqual(self.editor.text(), "")

    def test_refused_token_keeps_the_recording_and_changes_nothing(self):
        self.start_tarq()
        self.backend.script([{"status": 401, "body": {"text": "not to be used"}}])
        self.check_refused()

    def test_token_with_a_false_signature_is_refused(self):
        self.tarq.sign_in()
        keys = json.loads(self.tarq.keys_file.read_text())
        signed, _dot, _signature = keys["accessToken"].rpartition(".")
        self.tarq.keys_file.write_text(json.dumps({**keys, "accessToken": f"{signed}.AAAA"}))
        self.start_tarq(signed_in=False)
        self.check_refused()


if __name__ == "__main__":
    unittest.main()

"""Disks that fill up, by a limit on the size of files."""

import json
import unittest

from harness.microphone import Microphone
from harness.testcase import DictationTestCase, TarqTestCase
from tests.system.support import CommandLineTestCase


# The audio library then does without shared memory.
NO_SHARED_MEMORY = r"^ftruncate\(\) failed: File too large$"


def limited_to(size: int) -> list[str]:
    """A wrapper under which no file grows beyond size bytes: a write fails, as on a full disk."""
    # Unless it is ignored, the signal that comes with the failure ends the process.
    return ["prlimit", f"--fsize={size}", "env", "--ignore-signal=XFSZ"]


class FullDiskWhileRecordingTest(TarqTestCase):
    starts_tarq = False

    def test_recording_is_given_up_and_the_next_one_starts(self):
        self.expected_log = [
            NO_SHARED_MEMORY,
            r"^\[1\] Audio error: Failed to append audio data to \S+\.wav \(\?:0\)$"
        ]
        self.start_tarq(wrapper=limited_to(48_000))  # a second and a half
        lost = self.start_recording()
        self.tarq.process.wait_for_line("Audio error: ")
        self.desktop.wait_until(lambda: not lost.exists(), "the end of the file")
        self.assertEqual(self.backend.requests(), [])
        recording = self.start_recording()
        self.assertNotEqual(recording, lost)


class FullDiskAtTheStopTest(CommandLineTestCase):
    # Until the stop, a block or two stay in the memory of the process.
    ATTEMPTS = 10

    def test_audio_smoke_ends_with_status_3(self):
        Microphone(self.session).start()
        command = [*limited_to(1000), self.program, "--audio-smoke", "200"]
        for _ in range(self.ATTEMPTS):
            done = self.session.run(command, check=False)
            # Otherwise it has heard nothing yet, or on a busy machine too much for the memory.
            if "Failed to append audio data" not in done.stderr and done.returncode != 0:
                break
        self.assertEqual((done.returncode, done.stdout), (3, ""), done.stderr)
        self.assertRegex(done.stderr, r"\[2\] Failed to (seek to|write) ")
        self.assertEqual(list(self.cache.glob("*.wav")), [])


class FullDiskWhileSavingTest(DictationTestCase):
    starts_tarq = False

    def test_text_is_pasted_and_the_old_history_stays_whole(self):
        self.expected_log = [NO_SHARED_MEMORY]
        entry = {"id": 1700000000000, "text": 300_000 * "x", "createdAt": 1700000000000}
        history = json.dumps({"entries": [entry]})
        self.tarq.sign_in()
        file = self.tarq.config / "history.json"
        file.write_text(history)
        self.start_tarq(wrapper=limited_to(200_000))
        self.backend.set_transcript("pasted all the same")
        self.record()
        self.editor.wait_for_text("pasted all the same")
        self.assertEqual(file.read_text(), history)
        self.assertEqual([path.name for path in self.tarq.config.glob("history*")], [file.name])


if __name__ == "__main__":
    unittest.main()

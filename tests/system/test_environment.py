"""Which value of a variable counts, seen by where the recordings are sent."""

import unittest

from harness.tarq import Tarq
from harness.testcase import TarqTestCase


class PrecedenceTest(TarqTestCase):
    # There is no screen to paste on.
    expected_log = ["Text injection failed: xdotool paste failed"]
    starts_tarq = False

    NOWHERE = "http://127.0.0.1:9"

    def setUp(self) -> None:
        super().setUp()
        self.right = f"WORKER_URL={self.backend.url}\n"
        self.wrong = f"WORKER_URL={self.NOWHERE}\n"

    def check_used(self, real: str = "", in_config: str = "", beside: str = "") -> None:
        """Fails unless a recording reaches the backend."""
        # A copy, so that a file can be put beside the binary.
        directory = self.desktop.root / "bin"
        directory.mkdir()
        program = self.desktop.copy_program(self.tarq.program, directory)
        self.tarq = Tarq(self.desktop, program, self.backend)
        self.tarq.sign_in()
        (self.tarq.config / ".env").write_text(in_config)
        (directory / ".env").write_text(beside)
        self.start_tarq(env={"WORKER_URL": real})
        self.backend.set_transcript("arrived")
        self.record()
        self.desktop.wait_until(self.tarq.history, "the text in the history")
        self.tarq.process.wait_for_line("Text injection failed")

    def test_real_value_outranks_both_files(self):
        self.check_used(real=self.backend.url, in_config=self.wrong, beside=self.wrong)

    def test_config_directory_outranks_the_file_beside_the_binary(self):
        self.check_used(in_config=self.right, beside=self.wrong)

    def test_first_non_empty_line_of_a_file_counts(self):
        spaced = f" \t WORKER_URL = {self.backend.url} \r\n"
        self.check_used(in_config=f"WORKER_URL=\n{spaced}{self.wrong}")

    def test_quotes_belong_to_the_value(self):
        self.expected_log = [
            "attempt 1 of 3",
            "attempt 2 of 3",
            r"^\[1\] Transcription failed: Request failed \(HTTP 0\): .*unknown \(\?:0\)$",
            "Audio preserved at",
        ]
        self.tarq.sign_in()
        (self.tarq.config / ".env").write_text(f'WORKER_URL="{self.backend.url}"\n')
        self.start_tarq(env={"WORKER_URL": ""})
        self.record()
        self.tarq.process.wait_for_line("Audio preserved at")
        self.assertEqual(self.backend.requests(), [])


if __name__ == "__main__":
    unittest.main()

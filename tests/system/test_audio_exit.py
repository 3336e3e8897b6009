"""Ends of the program after a recording, one after the other: some used to be crashes."""

import os
import re
import subprocess
import unittest
from concurrent.futures import ThreadPoolExecutor

from harness.microphone import Microphone
from harness.process import exit_on_sigterm, guarded
from harness.session import OffscreenSession
from harness.testcase import program

# scripts/audio-exit asks for more.
COUNT = int(os.environ.get("TARQ_AUDIO_EXITS", "20"))
AT_A_TIME = 3
# A hang is one of the ways to end badly.
LONGEST_RUN_S = 60

GOOD_END = (0, re.compile(r"\[4\] /\S+\.wav \(\?:0\)\n"))


class AudioExitTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        exit_on_sigterm()

    def setUp(self) -> None:
        super().setUp()
        self.session = self.enterContext(OffscreenSession())
        Microphone(self.session).start()

    def end(self, _number: int) -> str | None:
        """Record a moment; returns what was wrong with the end."""
        try:
            done = subprocess.run(
                guarded([program("tarq-linux"), "--audio-smoke", "50"]),
                env=self.session.env,
                stdin=subprocess.DEVNULL,
                capture_output=True,
                text=True,
                timeout=LONGEST_RUN_S,
                check=False,
            )
        except subprocess.TimeoutExpired as error:
            return str(error)
        status, line = GOOD_END
        if done.returncode == status and line.fullmatch(done.stderr):
            return None
        return f"status {done.returncode}: {done.stderr}"

    def test_process_that_has_recorded_ends_well_each_time(self):
        with ThreadPoolExecutor(AT_A_TIME) as pool:
            ends = list(pool.map(self.end, range(COUNT)))
        self.assertEqual([end for end in ends if end is not None], [])


if __name__ == "__main__":
    unittest.main()

"""Signals at random moments of a run: each ends the program with status 0, and none hangs it.

`scripts/quit-storm` sets TARQ_QUIT_STORM to the count, and gives the release build. A signal
handler that does more than a flag needs could meet anything half done, so the count matters.
"""

import os
import random
import shutil
import signal
import time
import unittest

from harness.desktop import VirtualDesktop
from harness.process import DEADLINE_S, DeadlineExceeded
from harness.testcase import TarqTestCase
from harness.tray import StatusNotifierTray
from tests.system.support import catches_signal

COUNT = int(os.environ.get("TARQ_QUIT_STORM", "0"))
SMALL_COUNT = 7
SEED = int(os.environ.get("TARQ_QUIT_STORM_SEED", time.time_ns()))

# The longest that a start takes before its event loop runs, and that the splash shows.
START_S = 1.0
SPLASH_S = 1.4
# The poll of the active window begins anew in this time, and so does all that is drawn.
MOMENT_S = 0.25
AGAIN_S = 0.05
LONG_MS = 300_000


class QuitStormTest(TarqTestCase):
    starts_tarq = False

    def make_session(self):
        return VirtualDesktop()

    def setUp(self):
        super().setUp()
        self.tray = StatusNotifierTray(self.desktop)
        self.random = random.Random(SEED)

    def pause(self, longest: float) -> None:
        """The moments are random, which is what this test is for."""
        time.sleep(self.random.uniform(0, longest))

    def starting(self) -> None:
        """A signal before the event loop is lost, so it is sent again."""
        self.start_tarq(listening=False)
        pid = self.tarq.process.pid
        self.desktop.wait_until(lambda: catches_signal(pid, self.number), "the handlers")
        self.pause(START_S)
        deadline = time.monotonic() + DEADLINE_S
        while self.tarq.process.status is None and time.monotonic() < deadline:
            os.kill(pid, self.number)
            self.pause(AGAIN_S)

    def splash(self) -> None:
        self.start_tarq()
        self.pause(SPLASH_S)

    def idle(self) -> None:
        self.start_tarq()
        time.sleep(SPLASH_S)
        self.pause(MOMENT_S)

    def recording(self) -> None:
        self.start_tarq()
        self.start_recording()
        self.pause(MOMENT_S)

    def request(self) -> None:
        self.backend.script([{"delay_ms": LONG_MS}])
        self.backend.forget_requests()
        self.start_tarq()
        self.record()
        self.backend.requests(wait_for=1)
        self.pause(MOMENT_S)

    def login(self) -> None:
        self.tarq.keys_file.unlink(missing_ok=True)
        self.start_tarq(signed_in=False)
        self.pause(SPLASH_S)

    def windows(self) -> None:
        """They are still being built when the signal comes, or have all been drawn."""
        self.start_tarq()
        icon = self.tray.wait_for_icon(self.tarq.process.pid)
        for entry in self.random.sample(("Settings…", "About Tarq", "Open history"), 3):
            icon.choose(entry)
        self.pause(MOMENT_S)

    def check_ends(self, what: str) -> None:
        try:
            # The second may find the first still pending, and then goes to some other thread.
            for _ in range(self.random.randint(1, 3)):
                if self.tarq.process.status is None:
                    os.kill(self.tarq.process.pid, self.number)
            status = self.tarq.process.wait()
        except DeadlineExceeded:
            self.fail(f"{what}: hangs\n{self.stacks()}")
        self.assertEqual(status, 0, f"{what}\n{self.tarq.process.log()}")

    def stacks(self) -> str:
        if shutil.which("gdb") is None:
            return "(gdb would show where)"
        words = ["gdb", "-p", self.tarq.process.pid, "-batch", "-ex", "thread apply all bt"]
        return self.desktop.run(words, check=False).stdout

    def test_signal_at_any_moment_ends_the_program_with_status_0(self):
        stages = [
            self.starting,
            self.splash,
            self.idle,
            self.recording,
            self.request,
            self.login,
            self.windows,
        ]
        count = COUNT or SMALL_COUNT
        began = time.monotonic()
        for run in range(count):
            stage = stages[run % len(stages)]
            self.number = self.random.choice((signal.SIGTERM, signal.SIGTERM, signal.SIGINT))
            stage()
            self.check_ends(f"seed {SEED}, run {run}, {stage.__name__}, {self.number.name}")
            if COUNT and run % 100 == 99:
                print(f"{run + 1} signals, {time.monotonic() - began:.0f} s", flush=True)


if __name__ == "__main__":
    unittest.main()

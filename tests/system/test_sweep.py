"""Which starts sweep day-old recordings: those that come as far as an event loop."""

import unittest

from tests.system.support import DAY_S, CommandLineTestCase


class SweepTest(CommandLineTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.put_old()

    def put_old(self) -> None:
        self.old = self.write(self.cache / "tarq-linux-old.wav", "", age_s=2 * DAY_S)

    def test_start_that_ends_at_once_leaves_them(self):
        rows = {("--toggle",): 1, ("--session-smoke",): 0, ("--amplitude-smoke",): 0, (): 1}
        # The last ends for want of the required variables.
        for arguments, status in rows.items():
            with self.subTest(arguments):
                done = self.run_tarq(*arguments)
                self.assertEqual(done.returncode, status, done.stderr)
                self.assertTrue(self.old.exists())

    def test_smoke_mode_with_an_event_loop_sweeps(self):
        self.assertEqual(self.run_tarq("--recording-wave-smoke", "100").returncode, 0)
        self.assertFalse(self.old.exists())

    def test_start_that_hands_over_leaves_them(self):
        running = self.start_tarq()
        self.session.wait_until(lambda: not self.old.exists(), "the sweep of the first")
        self.put_old()
        self.check(self.run_tarq())
        self.assertEqual(self.end_tarq(running), [])
        self.assertTrue(self.old.exists())


if __name__ == "__main__":
    unittest.main()

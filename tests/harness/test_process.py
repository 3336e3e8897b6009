import signal
import unittest

from harness.process import DeadlineExceeded, Process


class ProcessTest(unittest.TestCase):
    def start(self, script: str) -> Process:
        process = Process(["sh", "-c", script])
        self.addCleanup(process.kill)
        return process

    def test_both_streams_are_read_line_by_line(self):
        process = self.start("echo out; echo err >&2; printf unfinished")
        self.assertEqual(process.wait(), 0)
        self.assertEqual(process.lines, ["out", "err", "unfinished"])

    def test_waits_for_a_line_to_come(self):
        process = self.start("echo first; read line < /dev/null; echo second 2")
        self.assertEqual(process.wait_for_line(r"second (\d)")[1], "2")

    def test_lines_before_since_do_not_count(self):
        process = self.start("echo same; echo other")
        process.wait_for_line("other")
        with self.assertRaises(DeadlineExceeded):
            process.wait_for_line("same", since=1)

    def test_missed_deadline_shows_the_log(self):
        process = self.start("echo here I am; exec sleep 1000")
        process.wait_for_line("here")
        with self.assertRaisesRegex(DeadlineExceeded, r"a line like 'never'(?s:.*)here I am"):
            process.wait_for_line("never", timeout=0.05)

    def test_end_of_the_process_ends_the_wait(self):
        process = self.start("exit 3")
        with self.assertRaisesRegex(DeadlineExceeded, "status 3"):
            process.wait_for_line("never")

    def test_stop_asks_first(self):
        process = self.start("trap 'echo bye; exit 5' TERM; echo up; while :; do sleep 0.01; done")
        process.wait_for_line("up")
        self.assertEqual(process.stop(), 5)
        self.assertEqual(process.lines[-1], "bye")

    def test_stop_kills_what_does_not_listen(self):
        process = self.start("trap '' TERM; echo up; while :; do sleep 0.01; done")
        process.wait_for_line("up")
        self.assertEqual(process.stop(timeout=0.05), -signal.SIGKILL)

    def test_the_whole_group_goes(self):
        process = self.start("sleep 1000 & echo $!; wait")
        child = process.wait_for_line(r"^(\d+)$")[1]
        process.kill()
        # The reader has met the end of the pipe, which the child held open as well.
        self.assertFalse(process._reader.is_alive(), f"{child} still lives")


if __name__ == "__main__":
    unittest.main()

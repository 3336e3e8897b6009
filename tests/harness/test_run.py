import os
import signal
import subprocess
import sys
import unittest
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]


def run(*arguments: str) -> subprocess.CompletedProcess:
    command = [sys.executable, "-m", "harness", "run", *arguments]
    return subprocess.run(command, cwd=REPOSITORY, capture_output=True, text=True, check=False)


class RunTest(unittest.TestCase):
    def test_output_and_exit_status_pass_through(self):
        done = run("--", "sh", "-c", "echo out; echo err >&2; exit 7")
        self.assertEqual((done.returncode, done.stdout, done.stderr), (7, "out\n", "err\n"))

    def test_death_by_signal_is_a_failure(self):
        done = run("--", "sh", "-c", "kill -SEGV $$")
        self.assertEqual(done.returncode, 128 + signal.SIGSEGV)

    def test_options_after_the_separator_belong_to_the_command(self):
        self.assertEqual(run("--", "echo", "--x11").stdout, "--x11\n")

    def test_without_a_display_qt_is_offscreen(self):
        done = run("--", "sh", "-c", 'echo "$QT_QPA_PLATFORM ${DISPLAY-none}"')
        self.assertEqual(done.stdout, "offscreen none\n")

    def test_chosen_variables_reach_the_command(self):
        self.assertEqual(run("--env", "NAME=a=b", "--", "sh", "-c", "echo $NAME").stdout, "a=b\n")

    def test_asked_for_parts_are_up(self):
        probes = "xdotool getmouselocation", "pactl get-default-source", "dbus-send / a.b.c"
        done = run("--x11", "--audio", "--dbus", "--", "sh", "-c", " && ".join(probes))
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertRegex(done.stdout, "(?m)^mic$")

    def test_home_is_gone_afterwards(self):
        self.assertFalse(os.path.exists(run("--", "sh", "-c", 'printf %s "$HOME"').stdout))


if __name__ == "__main__":
    unittest.main()

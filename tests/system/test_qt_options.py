"""Options that Qt takes out of the command line, with the word behind some of them.

What is left decides, as if nothing of the program knew the command line before Qt did.
"""

import signal
import unittest

from harness.testcase import TarqTestCase
from tests.system import test_command_line
from tests.system.support import NO_INSTANCE, CommandLineTestCase

HELP = test_command_line.HELP
MISSING = test_command_line.RequiredVariablesTest.MISSING
# Each of these takes the next word; Qt complains of a style that it doesn't have.
TAKING = ("-qwindowtitle", "--qwindowtitle", "-qwindowgeometry", "-stylesheet")
ONE_SHOT = ("--help", "-h", "--toggle", "--session-smoke", "--amplitude-smoke", "--audio-smoke")


class QtOptionsTest(CommandLineTestCase):
    def test_word_that_qt_takes_is_no_option(self):
        """A plain start follows, which ends without the required variables."""
        for taking in TAKING:
            for word in ONE_SHOT:
                with self.subTest(f"{taking} {word}"):
                    self.check(self.run_tarq(taking, word), status=1, stderr=MISSING)
        done = self.run_tarq("-style", "--toggle")
        self.assertEqual(done.returncode, 1)
        self.assertTrue(done.stderr.endswith(MISSING), done.stderr)

    def test_option_beside_those_of_qt_counts(self):
        for words in (["-style", "fusion"], ["-qwindowtitle", "--toggle"], ["-reverse"]):
            with self.subTest(words):
                self.check(self.run_tarq(*words, "--help"), stderr=HELP)
                self.check(self.run_tarq("--help", *words), stderr=HELP)
                self.check(self.run_tarq(*words, "--toggle"), status=1, stderr=NO_INSTANCE)

    def test_argument_may_stand_behind_what_qt_takes(self):
        done = self.run_tarq("--amplitude-smoke", "-style", "fusion", "0.5")
        self.assertEqual((done.returncode, done.stdout), (0, ""))
        self.assertTrue(done.stderr.startswith("[4] raw=0.5 "), done.stderr)

    def test_chosen_platform_is_used(self):
        self.session.env["QT_QPA_PLATFORM"] = "xcb"
        self.session.env.pop("DISPLAY", None)
        for option in ("--help", "--toggle", "--session-smoke"):
            with self.subTest(option):
                done = self.run_tarq("-platform", "offscreen", option)
                self.assertEqual(done.returncode, int(option == "--toggle"), done.stderr)


class SecondStartTest(TarqTestCase):
    def test_word_that_qt_takes_toggles_nothing(self):
        second = self.tarq.command("-qwindowtitle", "--toggle")
        self.assertEqual((second.status, second.lines), (0, []))
        # Had that one toggled, this one would end a recording instead of starting one.
        self.start_recording()


class WithoutDisplayTest(CommandLineTestCase):
    def test_plain_start_needs_a_display_whatever_qt_takes(self):
        for name in ("QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"):
            self.session.env.pop(name, None)
        for word in ONE_SHOT:
            with self.subTest(word):
                done = self.run_tarq("-qwindowtitle", word, env=self.CONFIGURED)
                self.assertEqual(done.returncode, -signal.SIGABRT, done.stderr)
                self.assertIn("could not connect to display", done.stderr)


if __name__ == "__main__":
    unittest.main()

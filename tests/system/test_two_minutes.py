"""The two minutes of a dictation, once in real time."""

import time
import unittest

from harness.bubble import Bubble
from harness.picture import Picture
from harness.testcase import DictationTestCase

WARNING_S = 60
LIMIT_S = 120
# Timers this long are a second off, and a busy machine is late.
EARLY_S = 2
LATE_S = 8

# Of the bubble's window, from its upper edge: what lies below the pill.
BADGE_TOP = 69
WAV_HEADER_BYTES = 44
BYTES_PER_SECOND = 2 * 16000


class TwoMinutesTest(DictationTestCase):
    def test_recording_warns_after_one_minute_and_ends_by_itself_after_two(self):
        self.backend.set_transcript("all that was said")
        bubble = Bubble(self.desktop, self.tarq.process.pid)
        before = time.monotonic()
        recording = self.start_recording()
        after = time.monotonic()

        self.wait_until_time(before + WARNING_S - EARLY_S)
        self.assertFalse(self.is_warned(bubble), "a warning before its time")
        self.desktop.wait_until(lambda: self.is_warned(bubble), "the warning")
        self.assertLess(time.monotonic(), after + WARNING_S + LATE_S)
        self.assertEqual(self.tarq.recordings(), [recording])

        self.wait_until_time(before + LIMIT_S - EARLY_S)
        self.assertEqual(self.backend.requests(), [])
        self.assertTrue(self.is_warned(bubble), "the warning ended before the recording")
        (request,) = self.backend.requests(wait_for=1)
        self.assertLess(time.monotonic(), after + LIMIT_S + LATE_S)
        sent = request["parts"][-1]["size"] - WAV_HEADER_BYTES
        seconds = sent / BYTES_PER_SECOND
        self.assertGreater(seconds, LIMIT_S - LATE_S)
        self.assertLess(seconds, LIMIT_S + LATE_S)

        self.editor.wait_for_text("all that was said")
        self.assertEqual(self.tarq.history(), ["all that was said"])
        self.assertEqual(self.tarq.recordings(), [])
        self.desktop.wait_until(lambda: not self.is_warned(bubble), "the end of the warning")
        self.assertEqual(len(self.backend.requests()), 1)

    def wait_until_time(self, moment: float) -> None:
        left = moment - time.monotonic()
        self.desktop.wait_until(
            lambda: time.monotonic() >= moment, "its time", timeout=max(left, 0) + LATE_S
        )

    def is_warned(self, bubble: Bubble) -> bool:
        """Whether the badge is on the screen: nothing else below the pill is orange."""
        path = self.desktop.tmp / "warning.png"
        self.desktop.screenshot(path)
        picture = Picture(path)
        window = bubble.geometry()
        left, right = window.x, window.x + window.width
        return any(
            red > 120 and 0.3 * red < green < 0.5 * red and blue < 60
            for y in range(window.y + BADGE_TOP, window.y + window.height)
            for red, green, blue in picture.row(y, left, right)
        )


if __name__ == "__main__":
    unittest.main()

"""An audio server that goes away, and comes back."""

import unittest

from harness.testcase import TarqTestCase

LOST = [r"Stream error: ", r"^\[1\] Audio error: Audio capture failed: fatal error \(\?:0\)$"]
# One line for the failure of the capture, one for the start that came to nothing.
REFUSED = [
    r"^\[1\] Audio error: Failed to start the Qt audio input stream\. \(\?:0\)$",
    r"^\[1\] Failed to start the Qt audio input stream\. \(\?:0\)$",
]
# Qt tries to connect again once, three seconds after the loss.
GIVEN_UP = r"PulseAudioService: pa_context_connect\(\) failed"


class AudioLossTest(TarqTestCase):
    def lose_server_while_recording(self) -> None:
        self.start_recording()
        self.microphone.kill()
        self.tarq.process.wait_for_line(LOST[-1])
        self.desktop.wait_until(lambda: not self.tarq.recordings(), "the end of the file")

    def check_refused(self) -> None:
        """Fails unless a toggle is answered by a message."""
        logged = len(self.tarq.process.lines)
        self.toggle()
        self.tarq.process.wait_for_line(REFUSED[-1], since=logged)
        self.assertEqual(self.tarq.recordings(), [])

    def is_connected(self) -> bool:
        return "tarq-linux" in self.desktop.run(["pactl", "list", "clients"]).stdout

    def test_lost_server_ends_the_recording_without_a_file(self):
        self.expected_log = LOST
        self.lose_server_while_recording()
        self.assertEqual(self.backend.requests(), [])

    def test_toggle_without_a_server_is_refused_each_time(self):
        self.expected_log = [*LOST, *REFUSED, GIVEN_UP]
        self.lose_server_while_recording()
        self.check_refused()
        self.tarq.process.wait_for_line(GIVEN_UP)
        self.check_refused()

    def test_server_that_comes_back_soon_can_be_recorded_from(self):
        self.expected_log = LOST
        self.lose_server_while_recording()
        self.microphone.start()
        self.desktop.wait_until(self.is_connected, "Tarq's new connection")
        self.start_recording()

    def test_server_that_comes_back_late_is_only_found_by_a_new_start(self):
        self.expected_log = [*LOST, *REFUSED, GIVEN_UP]
        self.lose_server_while_recording()
        self.tarq.process.wait_for_line(GIVEN_UP)
        self.microphone.start()
        self.check_refused()
        self.tarq.stop()
        self.start_tarq()
        self.start_recording()


if __name__ == "__main__":
    unittest.main()

"""Starting, starting twice, and ending."""

import os
import signal
import unittest

from harness.testcase import TarqTestCase
from tests.system.support import (
    DAY_S,
    NO_INSTANCE,
    CommandLineTestCase,
    let_handle_everything,
    samples_of,
)


class SecondStartTest(TarqTestCase):
    def check_silent_and_without_a_toggle(self, *arguments: str) -> None:
        second = self.tarq.command(*arguments)
        self.assertEqual((second.status, second.lines), (0, []))
        # Had that one toggled, this one would end a recording instead of starting one.
        self.start_recording()

    def test_second_plain_start_hands_over_and_leaves(self):
        self.check_silent_and_without_a_toggle()

    def test_second_start_with_an_unknown_argument_hands_over_too(self):
        self.check_silent_and_without_a_toggle("--foo", "bar")

    def test_toggle_with_further_arguments_is_one_toggle(self):
        second = self.tarq.command("--foo", "--toggle", "--toggle", "--session-smoke")
        self.assertEqual((second.status, second.lines), (0, []))
        self.tarq.wait_recording()

    def test_help_with_toggle_sends_nothing(self):
        second = self.tarq.command("--toggle", "--help")
        self.assertEqual(second.status, 0)
        self.assertTrue(second.lines[0].startswith("[4] Tarq"), second.log())
        self.start_recording()

    def test_audio_smoke_does_not_disturb_a_recording(self):
        self.backend.set_transcript("undisturbed")
        recording = self.start_recording()
        second = self.tarq.command("--audio-smoke", "250")
        self.assertEqual(second.status, 0, second.log())
        self.assertTrue(recording.exists())
        self.toggle()
        self.desktop.wait_until(self.tarq.history, "the text in the history")
        self.assertEqual(self.tarq.history(), ["undisturbed"])
        self.expected_log = ["Text injection failed"]  # there is no screen here
        self.tarq.process.wait_for_line("Text injection failed")


class EndTest(TarqTestCase):
    def test_termination_during_a_recording_ends_with_status_0_and_leaves_no_file(self):
        self.start_recording()
        self.assertEqual(self.tarq.process.stop(), 0)
        self.assertEqual(self.tarq.recordings(), [])

    def test_interrupt_and_termination_end_with_status_0(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(number.name):
                os.kill(self.tarq.process.pid, number)
                self.assertEqual(self.tarq.process.wait(), 0)
                self.start_tarq()

    def test_termination_during_a_request_keeps_the_recording(self):
        self.backend.script([{"delay_ms": 60_000}])
        recording = self.record()
        self.backend.requests(wait_for=1)
        self.assertEqual(self.tarq.process.stop(), 0)
        self.assertEqual(self.tarq.recordings(), [recording])
        samples_of(recording)

    def test_killed_program_can_be_started_again_and_its_recording_stays(self):
        left = self.start_recording()
        self.tarq.kill()
        second = self.tarq.command("--toggle")
        self.assertEqual((second.status, "\n".join(second.lines) + "\n"), (1, NO_INSTANCE))
        self.start_tarq()
        recording = self.start_recording()
        self.assertNotEqual(recording, left)
        self.assertEqual(sorted(self.tarq.recordings()), sorted([left, recording]))

    def test_restarted_program_has_a_new_token(self):
        token_file = self.tarq.config / "ipc-token"
        old = token_file.read_bytes()
        self.tarq.stop()
        self.start_tarq()
        self.assertRegex(token_file.read_text(), "^[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$")
        self.assertNotEqual(token_file.read_bytes(), old)
        self.assertEqual(token_file.stat().st_mode & 0o777, 0o600)


class SignedOutTest(TarqTestCase):
    starts_tarq = False

    def check_records_nothing(self) -> None:
        self.start_tarq(signed_in=False)
        self.toggle()
        let_handle_everything(self.tarq.socket)
        # The directory is made for the first recording, and would outlive a cancelled one.
        self.assertFalse(self.tarq.cache.exists())

    def test_nobody_signed_in_records_nothing(self):
        self.check_records_nothing()

    def test_session_that_needs_a_refresh_records_nothing_before_the_answer(self):
        self.backend.script([{"delay_ms": 60_000}] * 2, path="/auth/v1/token")
        for lifetime in (-60, 290):
            with self.subTest(lifetime):
                self.tarq.sign_in(lifetime)
                self.check_records_nothing()
                self.tarq.stop()

    def test_session_of_more_than_five_minutes_records(self):
        self.tarq.sign_in(lifetime=330)
        self.start_tarq(signed_in=False)
        self.start_recording()


class SweepTest(CommandLineTestCase):
    def test_day_old_recordings_go_at_a_start_and_nothing_else(self):
        spool = self.config / "spool"
        old, young = DAY_S + 60, DAY_S - 600
        swept = [
            self.write(self.cache / "tarq-linux-old.wav", "", old),
            self.write(spool / "old.wav", "", old),
        ]
        kept = [
            self.write(self.cache / "tarq-linux-young.wav", "", young),
            self.write(spool / "young.wav", "", young),
            self.write(self.cache / "old.wav", "", old),
            self.write(self.cache / "tarq-linux-old.txt", "", old),
            self.write(self.cache / "below" / "tarq-linux-old.wav", "", old),
            self.write(spool / "old.txt", "", old),
            self.write(spool / "below" / "old.wav", "", old),
        ]
        running = self.start_tarq()
        self.session.wait_until(lambda: not any(path.exists() for path in swept), "the sweep")
        self.assertEqual(self.end_tarq(running), [])
        self.assertEqual([path for path in kept if not path.exists()], [])


if __name__ == "__main__":
    unittest.main()

"""The options that try out one service each."""

import re
import unittest
from array import array
from pathlib import Path

from harness.microphone import Microphone
from harness.tarq import WAV_HEADER_BYTES, size_of
from tests.system.support import CommandLineTestCase, samples_of

RATE_HZ = 16_000

# Of recorded sound against the time that was asked for: the server starts and delivers
# in blocks, and a busy machine is late.
LEAST_SHARE = 0.3

# Still goes on when a busy machine has started the program, and recorded for two seconds.
LONG_SPEECH = "hello " * 50


class AmplitudeSmokeTest(CommandLineTestCase):
    FULL = "[4] raw=1 scales=[0.226, 0.4465, 1, 0.4465, 0.226] (?:0)\n"
    HALF = "[4] raw=0.5 scales=[0.163, 0.27325, 0.55, 0.27325, 0.163] (?:0)\n"
    REST = "[4] raw=0 scales=[0.1, 0.1, 0.1, 0.1, 0.1] (?:0)\n"

    def test_level_is_taken_from_the_argument(self):
        rows = {"0.5": self.HALF, "5e-1": self.HALF, "0": self.REST, "1": self.FULL}
        for word, line in rows.items():
            with self.subTest(word):
                self.check(self.run_tarq("--amplitude-smoke", word), stderr=line)

    def test_level_beyond_the_range_counts_as_its_end(self):
        self.check(self.run_tarq("--amplitude-smoke", "2"), stderr=self.FULL)
        self.check(self.run_tarq("--amplitude-smoke", "-1"), stderr=self.REST)

    def test_full_level_is_the_default_for_anything_that_is_no_number(self):
        for arguments in ([], ["abc"], [""], ["0,5"], ["--foo"]):
            with self.subTest(arguments):
                self.check(self.run_tarq("--amplitude-smoke", *arguments), stderr=self.FULL)


class SessionSmokeTest(CommandLineTestCase):
    def test_session_type_follows_the_environment(self):
        rows = [
            ({"XDG_SESSION_TYPE": "x11"}, "x11"),
            ({"XDG_SESSION_TYPE": " X11 ", "WAYLAND_DISPLAY": "wayland-0"}, "x11"),
            ({"XDG_SESSION_TYPE": "wayland"}, "wayland"),
            ({"XDG_SESSION_TYPE": "Wayland", "DISPLAY": ":0"}, "wayland"),
            ({"XDG_SESSION_TYPE": "tty", "WAYLAND_DISPLAY": "", "DISPLAY": ":0"}, "wayland"),
            ({"XDG_SESSION_TYPE": "", "DISPLAY": ""}, "x11"),
            ({"XDG_SESSION_TYPE": "tty"}, "unknown"),
            ({}, "unknown"),
        ]
        for env, name in rows:
            with self.subTest(env):
                done = self.run_tarq("--session-smoke", env=env)
                self.check(done, stderr=f"[4] session: {name} (?:0)\n")

    def test_session_outranks_the_other_smoke_options(self):
        done = self.run_tarq("--audio-smoke", "--amplitude-smoke", "--session-smoke")
        self.check(done, stderr="[4] session: unknown (?:0)\n")


class AudioSmokeTest(CommandLineTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.microphone = Microphone(self.session).start()

    def record(self, *arguments: str) -> Path:
        """Run the mode, and return the recording that its only line names."""
        done = self.run_tarq("--audio-smoke", *arguments)
        self.assertEqual((done.returncode, done.stdout), (0, ""), done.stderr)
        (line,) = done.stderr.splitlines()
        return Path(re.fullmatch(r"\[4\] (/.*\.wav) \(\?:0\)", line)[1])

    def recorded_s(self, recording: Path) -> float:
        return len(samples_of(recording)) / 2 / RATE_HZ

    def test_recording_stays_where_the_line_says(self):
        recording = self.record("250")
        self.assertEqual(recording.parent, self.cache)
        self.assertRegex(recording.name, r"^tarq-linux-[0-9a-f-]{36}\.wav$")
        self.assertEqual(self.cache.stat().st_mode & 0o777, 0o700)
        samples_of(recording)

    def test_time_without_a_positive_number_is_a_second(self):
        for arguments in ([], ["0"], ["-5"], ["soon"], ["1e3"]):
            with self.subTest(arguments):
                self.assertGreater(self.recorded_s(self.record(*arguments)), LEAST_SHARE)

    def test_recording_holds_what_was_said(self):
        voice = self.microphone.start_speaking(LONG_SPEECH)
        recording = self.record("2000")
        voice.stop()
        samples = array("h", samples_of(recording))
        self.assertGreater(max(map(abs, samples)), 2000)

    def test_termination_ends_it_before_it_has_printed_anything(self):
        running = self.session.spawn([self.program, "--audio-smoke", "60000"])
        self.session.wait_until(
            lambda: any(path.stat().st_size > 44 for path in self.cache.glob("*.wav")), "sound"
        )
        self.assertEqual(self.end_tarq(running), [])
        self.assertEqual(list(self.cache.iterdir()), [])

    def test_old_recordings_are_swept(self):
        old = self.write(self.cache / "tarq-linux-old.wav", "", age_s=2 * 24 * 3600)
        self.record("250")
        self.assertFalse(old.exists())


class NoMicrophoneTest(CommandLineTestCase):
    NO_DEVICE = "No audio input device is available."

    def own_lines(self, stderr: str) -> list[str]:
        # Qt complains about the missing server, in words of its own.
        return [line for line in stderr.splitlines() if "PulseAudioService" not in line]

    def test_audio_smoke_ends_with_status_2(self):
        done = self.run_tarq("--audio-smoke", "250")
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        # Once by the signal of the capture, once by its answer.
        self.assertEqual(self.own_lines(done.stderr), 2 * [f"[2] {self.NO_DEVICE} (?:0)"])
        self.assertFalse(self.cache.exists())

    def test_recording_wave_smoke_tries_twice_and_ends_well(self):
        done = self.run_tarq("--recording-wave-smoke", "100")
        self.assertEqual((done.returncode, done.stdout), (0, ""))
        *warnings, line = self.own_lines(done.stderr)
        self.assertEqual(set(warnings), {f"[1] {self.NO_DEVICE} (?:0)"})
        self.assertEqual(len(warnings), 4)
        self.assertEqual(line, "[4] state=idle maxScales=[0.1, 0.1, 0.1, 0.1, 0.1] (?:0)")


class RecordingWaveSmokeTest(CommandLineTestCase):
    LINE = re.compile(r"\[4\] state=idle maxScales=\[([\d.e-]+(?:, [\d.e-]+){4})\] \(\?:0\)\n")

    def setUp(self) -> None:
        super().setUp()
        self.microphone = Microphone(self.session).start()

    def peaks(self, *arguments: str) -> list[float]:
        done = self.run_tarq("--recording-wave-smoke", *arguments)
        self.assertEqual((done.returncode, done.stdout), (0, ""), done.stderr)
        self.assertEqual(list(self.cache.glob("*.wav")), [])
        return [float(peak) for peak in self.LINE.fullmatch(done.stderr)[1].split(", ")]

    def test_silence_rests_all_bars_and_leaves_no_file(self):
        for argument in ("0", "-1", "300"):
            with self.subTest(argument):
                self.assertEqual(self.peaks(argument), 5 * [0.1])

    def test_voice_moves_the_bars(self):
        voice = self.microphone.start_speaking(LONG_SPEECH)
        peaks = self.peaks("2000")
        voice.stop()
        self.assertGreater(peaks[2], 0.1)
        self.assertLessEqual(max(peaks), 1.0)

    def test_termination_ends_it_before_it_has_printed_anything(self):
        running = self.session.spawn([self.program, "--recording-wave-smoke", "60000"])

        # Sound comes through the event loop; before that runs, the signal would be lost.
        def has_sound() -> bool:
            return any(size_of(path) > WAV_HEADER_BYTES for path in self.cache.glob("*.wav"))

        self.session.wait_until(has_sound, "a recording with sound in it")
        self.assertEqual(self.end_tarq(running), [])
        self.assertEqual(list(self.cache.iterdir()), [])


if __name__ == "__main__":
    unittest.main()

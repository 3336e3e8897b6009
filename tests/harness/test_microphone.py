import functools
import os
import unittest
from array import array
from pathlib import Path
from unittest import mock

from harness import audio
from harness.microphone import Microphone
from harness.session import Session

# Nothing but work, of which a busy machine does little.
RECOGNITION_S = 120

SENTENCE = "go forward ten meters"
WAV_HEADER_BYTES = 44


def on_each_server(test):
    """Run the test once on every audio server that this machine has."""

    @functools.wraps(test)
    def run(self):
        for name in audio.installed():
            with (
                self.subTest(name),
                mock.patch.dict(os.environ, TARQ_AUDIO_SERVER=name),
                Session() as self.session,
            ):
                self.microphone = Microphone(self.session).start()
                test(self)

    return run


def peak(recording: Path) -> int:
    return max(map(abs, array("h", recording.read_bytes()[WAV_HEADER_BYTES:])))


class MicrophoneTest(unittest.TestCase):
    def recording(self) -> Path:
        """Of the spoken sentence."""
        recording = self.session.tmp / "heard.wav"
        form = ["--file-format=wav", "--rate=16000", "--channels=1", "--format=s16le"]
        # Of a long latency the recorder would lose as much at its end.
        form += ["--latency-msec=50"]
        recorder = self.session.spawn(["parecord", "--device=mic", *form, recording])
        self.session.wait_until(
            lambda: recording.exists() and recording.stat().st_size > WAV_HEADER_BYTES,
            "sound in the recording",
        )
        self.microphone.speak(SENTENCE)
        recorder.stop()
        return recording

    def heard(self) -> str:
        """What a recogniser makes of the spoken sentence."""
        recording = self.recording()
        recognise = ["pocketsphinx_continuous", "-infile", recording, "-logfn", "/dev/null"]
        return self.session.run(recognise, timeout=RECOGNITION_S).stdout.strip()

    @on_each_server
    def test_carries_speech(self):
        self.assertEqual(self.heard(), SENTENCE)

    @on_each_server
    def test_is_as_loud_as_what_is_said(self):
        said = peak(self.microphone.recording_of(SENTENCE))
        self.assertAlmostEqual(peak(self.recording()) / said, 1, delta=0.05)

    @on_each_server
    def test_is_the_only_input_and_the_default(self):
        sources = self.session.run(["pactl", "list", "short", "sources"]).stdout.splitlines()
        names = [line.split("\t")[1] for line in sources]
        self.assertEqual([name for name in names if not name.endswith(".monitor")], ["mic"])
        self.assertEqual(self.session.run(["pactl", "get-default-source"]).stdout, "mic\n")

    @on_each_server
    def test_works_again_after_a_crash_of_the_server(self):
        self.microphone.kill()
        self.assertNotEqual(self.session.run(["pactl", "info"], check=False).returncode, 0)
        self.microphone.start()
        self.assertEqual(self.heard(), SENTENCE)


class ServersTest(unittest.TestCase):
    def test_machine_has_one(self):
        self.assertTrue(audio.installed())

    @on_each_server
    def test_chosen_server_is_the_one_that_runs(self):
        info = self.session.run(["pactl", "info"]).stdout
        is_pipewire = "on PipeWire" in info
        self.assertEqual(is_pipewire, os.environ["TARQ_AUDIO_SERVER"] == "pipewire", info)


if __name__ == "__main__":
    unittest.main()

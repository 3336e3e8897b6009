import unittest

from harness.microphone import Microphone
from harness.session import Session

SENTENCE = "go forward ten meters"
WAV_HEADER_BYTES = 44


class MicrophoneTest(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(Session())
        self.microphone = Microphone(self.session).start()

    def heard(self) -> str:
        """What a recogniser makes of the spoken sentence."""
        recording = self.session.tmp / "heard.wav"
        form = ["--file-format=wav", "--rate=16000", "--channels=1", "--format=s16le"]
        recorder = self.session.spawn(["parecord", "--device=mic", *form, recording])
        self.session.wait_until(
            lambda: recording.exists() and recording.stat().st_size > WAV_HEADER_BYTES,
            "sound in the recording",
        )
        self.microphone.speak(SENTENCE)
        recorder.stop()
        recognise = ["pocketsphinx_continuous", "-infile", recording, "-logfn", "/dev/null"]
        return self.session.run(recognise).stdout.strip()

    def test_carries_speech(self):
        self.assertEqual(self.heard(), SENTENCE)

    def test_is_the_only_input_and_the_default(self):
        sources = self.session.run(["pactl", "list", "short", "sources"]).stdout.splitlines()
        names = [line.split("\t")[1] for line in sources]
        self.assertEqual([name for name in names if not name.endswith(".monitor")], ["mic"])
        self.assertEqual(self.session.run(["pactl", "get-default-source"]).stdout, "mic\n")

    def test_works_again_after_a_crash_of_the_server(self):
        self.microphone.kill()
        self.assertNotEqual(self.session.run(["pactl", "info"], check=False).returncode, 0)
        self.microphone.start()
        self.assertEqual(self.heard(), SENTENCE)


if __name__ == "__main__":
    unittest.main()

"""Real speech comes back as text, and a tool that is missing or broken is reported."""

from __future__ import annotations

import os
import shutil
import subprocess
import tempfile
import unittest
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from support import DEADLINE_S, SILENCE, Backend, BackendTestCase, wav

SENTENCE = "go forward ten meters"
SPHINX = "pocketsphinx_continuous"
NEWER_SPHINX = "pocketsphinx"


class SpeechTest(BackendTestCase):
    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        directory = cls.enterClassContext(tempfile.TemporaryDirectory())
        cls.speech = Path(directory, "speech.wav")
        subprocess.run(["flite", "-voice", "rms", "-t", SENTENCE, "-o", cls.speech], check=True)

    def assert_recognised(self, audio: bytes) -> None:
        answer = self.backend.transcribe(audio)
        self.assertEqual((answer.status, answer.json()), (200, {"text": SENTENCE}))

    def samples(self, *options: str) -> bytes:
        command = ["sox", self.speech, "-t", "raw", *options, "-"]
        return subprocess.run(command, check=True, capture_output=True).stdout

    def test_speech_is_recognised_word_for_word(self) -> None:
        self.assert_recognised(self.speech.read_bytes())
        self.assertNotIn("forward", self.backend.log)

    def test_speech_is_converted_first_where_necessary(self) -> None:
        stereo = self.samples("-r", "48000", "-c", "2", "-e", "floating-point", "-b", "32")
        wide = self.samples("-r", "44100", "-e", "signed-integer", "-b", "24")
        rows = {
            "float stereo 48 kHz": wav(stereo, code=3, channels=2, rate=48_000, bits=32),
            "24 bit 44.1 kHz": wav(wide, rate=44_100, bits=24),
        }
        for name, audio in rows.items():
            with self.subTest(name):
                self.assert_recognised(audio)

    def test_silence_is_an_empty_text(self) -> None:
        self.assertEqual(self.backend.transcribe(SILENCE).json(), {"text": ""})

    def test_more_recordings_at_once_than_there_are_slots(self) -> None:
        audio = self.speech.read_bytes()
        with ThreadPoolExecutor(4) as pool:
            list(pool.map(self.assert_recognised, [audio] * 4))


class ToolTest(unittest.TestCase):
    """A PATH of our own decides which tools there are."""

    def setUp(self) -> None:
        self.directory = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.tools = self.directory / "bin"
        self.temporary = self.directory / "tmp"
        self.tools.mkdir()
        self.temporary.mkdir()

    def link(self, name: str, target: str) -> None:
        (self.tools / name).symlink_to(shutil.which(target))

    def backend(self) -> Backend:
        env = {"PATH": str(self.tools), "TMPDIR": str(self.temporary)}
        return self.enterContext(Backend(env=env))

    def assert_refused(self, audio: bytes, status: int, message: str) -> None:
        answer = self.backend().transcribe(audio)
        self.assertEqual(answer.status, status)
        self.assertIn(message, answer.message)
        self.assertEqual(list(self.temporary.iterdir()), [])

    def test_missing_recogniser_is_503_and_names_its_package(self) -> None:
        self.assert_refused(SILENCE, 503, "Debian package pocketsphinx.")

    def test_newer_command_is_used_where_it_is_alone(self) -> None:
        self.script("""printf '{"b":0.0,"t":"one two","w":[]}\\n'""", NEWER_SPHINX)
        self.assertEqual(self.backend().transcribe(SILENCE).json(), {"text": "one two"})

    def test_missing_converter_is_503_and_names_its_package(self) -> None:
        self.link(SPHINX, SPHINX)
        self.assert_refused(wav(bytes(64), rate=8000), 503, "Debian package sox.")

    def test_failing_recogniser_is_502(self) -> None:
        self.link(SPHINX, "false")
        self.assert_refused(SILENCE, 502, "could not process")

    def test_lines_are_joined_and_trimmed(self) -> None:
        self.script("printf '  one two \\n\\n three\\n'")
        self.assertEqual(self.backend().transcribe(SILENCE).json(), {"text": "one two three"})

    def test_stopping_the_server_ends_the_recogniser_and_tidies_up(self) -> None:
        started = self.directory / "started"
        os.mkfifo(started)
        self.script(f"echo $$ > {started}; exec {shutil.which('sleep')} 600")
        backend = self.backend()
        with ThreadPoolExecutor() as pool:
            answer = pool.submit(backend.transcribe, SILENCE)
            pid = int(started.read_text())
            self.assertEqual(len(list(self.temporary.iterdir())), 1)
            self.assertEqual(backend.stop(), 0)
            answer.exception(DEADLINE_S)
        with self.assertRaises(ProcessLookupError):
            os.kill(pid, 0)
        self.assertEqual(list(self.temporary.iterdir()), [])

    def script(self, commands: str, name: str = SPHINX) -> None:
        program = self.tools / name
        program.write_text(f"#!/bin/sh\n{commands}\n")
        program.chmod(0o755)


if __name__ == "__main__":
    unittest.main()

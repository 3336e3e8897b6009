"""What several of the system tests share."""

import os
import signal
import subprocess
import time
import unittest
import wave
from pathlib import Path

from harness.log import without_start
from harness.process import Process, exit_on_sigterm
from harness.session import OffscreenSession
from harness.tarq import exchange
from harness.testcase import program

DAY_S = 24 * 3600

NO_INSTANCE = "[1] No running Tarq instance found. (?:0)\n"
DEFAULT_FILES = {
    "settings.json": """\
{
  "microphoneDeviceId": "",
  "recordingHotkey": "Super+Space",
  "pushToTalkMode": true,
  "autoStart": false,
  "showInTray": true,
  "firstRunComplete": false,
  "telemetryOptIn": false,
  "transcriptionLanguage": "auto",
  "autoPunctuation": true
}
""",
    "keys.json": '{\n  "model": "whisper-large-v3-turbo"\n}\n',
    "history.json": '{\n  "entries": []\n}\n',
}


class CommandLineTestCase(unittest.TestCase):
    """The bare program on a new account: no windows, no microphone, no worker."""

    # Nobody listens there, so whatever the program may send stays on this machine.
    NOWHERE = "http://127.0.0.1:9"
    CONFIGURED = {"SUPABASE_URL": NOWHERE, "SUPABASE_ANON_KEY": "anonymous"}

    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        exit_on_sigterm()

    def setUp(self) -> None:
        super().setUp()
        self.session = self.enterContext(OffscreenSession())
        self.session.env["WORKER_URL"] = self.NOWHERE
        self.program = program("tarq-linux")
        self.config = self.session.home / ".config" / "Tarq-Linux"
        self.cache = self.session.home / ".cache" / "Tarq-Linux"

    def run_tarq(self, *arguments: str, env: dict[str, str] | None = None):
        """Run the program to its end; the two required variables are not set."""
        return self.session.run([self.program, *arguments], env=env, check=False)

    def start_tarq(self, *arguments: str, env: dict[str, str] | None = None) -> Process:
        """Start a first instance, and wait until it can be reached."""
        running = self.session.spawn(
            [self.program, *arguments], env=self.CONFIGURED if env is None else env
        )
        channel = self.session.tmp / "tarq-linux-ipc"
        self.session.wait_for_socket(channel, "the toggle channel")
        # A signal that comes before the event loop runs is lost.
        let_handle_everything(channel)
        return running

    def end_tarq(self, running: Process) -> list[str]:
        """End a run by SIGTERM, and return what it has logged."""
        self.assertEqual(running.stop(), 0, running.log())
        return without_start(running.lines)

    def check(
        self, done: subprocess.CompletedProcess, status: int = 0, stderr: str = "", stdout: str = ""
    ) -> None:
        self.assertEqual((done.returncode, done.stderr, done.stdout), (status, stderr, stdout))

    def write(self, path: Path, content: bytes | str, age_s: float = 0) -> Path:
        """A file of that age; its directories are made."""
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content.encode() if isinstance(content, str) else content)
        then = time.time() - age_s
        os.utime(path, (then, then))
        return path


def samples_of(recording: Path) -> bytes:
    """Fails unless the file is a complete WAV of 16-bit mono samples."""
    with wave.open(str(recording)) as wav:
        assert (wav.getnchannels(), wav.getsampwidth()) == (1, 2)
        samples = wav.readframes(wav.getnframes())
    assert recording.stat().st_size == 44 + len(samples), "the header states another length"
    return samples


def catches_signal(pid: int, number: signal.Signals) -> bool:
    """Whether a program has come as far as its own handler."""
    status = Path(f"/proc/{pid}/status").read_text()
    caught = int(status.split("SigCgt:")[1].split()[0], 16)
    return bool(caught >> (number - 1) & 1)


def let_handle_everything(channel: Path) -> None:
    """Return when the program has handled whatever it was sent before."""
    # Twice: the first may be read in the same turn as what came before.
    for _ in range(2):
        exchange(channel, b"not a message")

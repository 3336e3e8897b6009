"""Recognition on this machine, by PocketSphinx."""

from __future__ import annotations

import json
import shutil
import subprocess
import tempfile
import threading
import wave
from pathlib import Path

from .messages import ApiError
from .transcription import Recording
from .wav import Wav

_RATE_HZ = 16_000
_MAX_CONCURRENT = 2
_TOOL_TIMEOUT_S = 120
_TOOL = "pocketsphinx_continuous"
_NEWER_TOOL = "pocketsphinx"  # what PocketSphinx 5 has in its place
_DEBIAN_PACKAGES = {_TOOL: "pocketsphinx", _NEWER_TOOL: "pocketsphinx", "sox": "sox"}


class PocketSphinx:
    """Runs PocketSphinx for each recording, after sox where it has to be converted."""

    def __init__(self) -> None:
        self._slots = threading.BoundedSemaphore(_MAX_CONCURRENT)
        self._lock = threading.Lock()
        self._running: set[subprocess.Popen[bytes]] = set()
        self._stopped = False

    def transcribe(self, recording: Recording) -> str:
        with self._slots, tempfile.TemporaryDirectory(prefix="tarq-backend-") as directory:
            path = Path(directory, "recording.wav")
            self._write_for_sphinx(recording.audio, path)
            if shutil.which(_TOOL) is None and shutil.which(_NEWER_TOOL) is not None:
                return json.loads(self._run(_NEWER_TOOL, "single", str(path)))["t"]
            output = self._run(_TOOL, "-infile", str(path), "-logfn", "/dev/null")
        lines = output.decode("utf-8", "replace").splitlines()
        return " ".join(line.strip() for line in lines if line.strip())

    def stop(self) -> None:
        with self._lock:
            self._stopped = True
            for process in self._running:
                process.kill()

    def _write_for_sphinx(self, audio: Wav, path: Path) -> None:
        """PocketSphinx skips 44 bytes and takes the rest for 16 kHz, mono, 16 bit."""
        if (audio.rate_hz, audio.channels, audio.bits, audio.is_float) == (_RATE_HZ, 1, 16, False):
            with wave.open(str(path), "wb") as file:
                file.setparams((1, 2, _RATE_HZ, 0, "NONE", ""))
                file.writeframes(audio.samples)
            return
        # fmt: off
        self._run(
            "sox", "-V1",
            "-t", "raw", "-L", "-r", str(audio.rate_hz), "-c", str(audio.channels),
            "-b", str(audio.bits), "-e", _sox_encoding(audio), "-",
            "-t", "wavpcm", "-r", str(_RATE_HZ), "-c", "1",
            "-b", "16", "-e", "signed-integer", str(path),
            input_bytes=audio.samples,
        )
        # fmt: on

    def _run(self, tool: str, *arguments: str, input_bytes: bytes = b"") -> bytes:
        program = shutil.which(tool)
        if program is None:
            package = _DEBIAN_PACKAGES[tool]
            raise ApiError(503, f"{tool} is missing; install the Debian package {package}.")
        with self._lock:
            if self._stopped:
                raise ApiError(503, "The server is stopping.")
            process = subprocess.Popen(
                [program, *arguments],
                stdin=subprocess.PIPE,
                stdout=subprocess.PIPE,
                stderr=subprocess.DEVNULL,
            )
            self._running.add(process)
        try:
            output, _ = process.communicate(input_bytes, _TOOL_TIMEOUT_S)
        except subprocess.TimeoutExpired:
            raise ApiError(502, f"{tool} took longer than {_TOOL_TIMEOUT_S} s.") from None
        finally:
            with self._lock:
                self._running.discard(process)
            if process.poll() is None:
                process.kill()
                process.communicate()
        if process.returncode != 0:
            hint = " Is the Debian package pocketsphinx-en-us installed?" if tool != "sox" else ""
            raise ApiError(502, f"{tool} could not process the recording.{hint}")
        return output


def _sox_encoding(audio: Wav) -> str:
    if audio.is_float:
        return "floating-point"
    return "unsigned-integer" if audio.bits == 8 else "signed-integer"

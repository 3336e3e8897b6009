"""Runs the real backend and talks to it over real sockets."""

from __future__ import annotations

import http.client
import json
import os
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import unittest
from dataclasses import dataclass
from pathlib import Path
from typing import Any

PROGRAM = Path(__file__).resolve().parents[2] / "backend" / "tarq-backend"
TRANSCRIPTIONS = "/v1/audio/transcriptions"
BOUNDARY = "boundary_.oOo._Vt0YxYyBBAFXd3Vv/S=="
FORM_TYPE = f'multipart/form-data; boundary="{BOUNDARY}"'
# Long enough for a slow machine; nothing waits for it unless it fails.
DEADLINE_S = 60


@dataclass
class Answer:
    status: int
    headers: http.client.HTTPMessage
    body: bytes

    def json(self) -> Any:
        return json.loads(self.body)

    @property
    def message(self) -> str:
        return self.json()["error"]["message"]


class Backend:
    """A running server with a state directory of its own. Use as a context manager."""

    def __init__(self, *options: str, env: dict[str, str] | None = None) -> None:
        self._directory = tempfile.TemporaryDirectory(prefix="tarq-backend-test-")
        self.directory = Path(self._directory.name)
        self.state_dir = self.directory / "state"
        self._log_path = self.directory / "log"
        with self._log_path.open("wb") as log:
            self._process = subprocess.Popen(
                [sys.executable, PROGRAM, "--state-dir", self.state_dir, *options],
                stdout=subprocess.PIPE,
                stderr=log,
                env={**os.environ, "no_proxy": "127.0.0.1", **(env or {})},
            )
        self.url = self._process.stdout.readline().decode().rstrip("\n")
        if not self.url:
            self.stop()
            log = self.log
            self._directory.cleanup()
            raise AssertionError(f"the backend did not start: {log}")
        self.port = int(self.url.rpartition(":")[2])
        self.token = self.issue_token()

    def __enter__(self) -> Backend:
        return self

    def __exit__(self, *_: object) -> None:
        self.stop()
        self._directory.cleanup()

    def stop(self, number: int = signal.SIGTERM) -> int:
        """Returns the exit status."""
        if self._process.poll() is None:
            self._process.send_signal(number)
        status = self._process.wait(DEADLINE_S)
        if not self._process.stdout.closed:
            self.rest_of_stdout = self._process.stdout.read()
            self._process.stdout.close()
        return status

    @property
    def log(self) -> str:
        return self._log_path.read_text()

    @property
    def secret(self) -> bytes:
        return bytes.fromhex((self.state_dir / "secret").read_text())

    def issue_token(self, *options: str) -> str:
        file = self.directory / "session.json"
        run_program("--state-dir", self.state_dir, "--issue-session", file, *options)
        return json.loads(file.read_bytes())["accessToken"]

    def connect(self) -> socket.socket:
        return socket.create_connection(("127.0.0.1", self.port), DEADLINE_S)

    def request(
        self,
        method: str,
        path: str,
        body: bytes | None = None,
        headers: dict[str, str] | None = None,
    ) -> Answer:
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=DEADLINE_S)
        try:
            connection.request(method, path, body, headers or {})
            response = connection.getresponse()
            return Answer(response.status, response.headers, response.read())
        finally:
            connection.close()

    def post_json(self, path: str, key: str | None = "anonymous", **fields: Any) -> Answer:
        """As the client asks the auth service."""
        headers = {"Content-Type": "application/json", **({"apikey": key} if key else {})}
        return self.request("POST", path, json.dumps(fields).encode(), headers)

    def grant(self, grant_type: str, **fields: Any) -> Answer:
        return self.post_json(f"/auth/v1/token?grant_type={grant_type}", **fields)

    def sign_up(self, email: str, password: str = "correct horse") -> Answer:
        return self.post_json("/auth/v1/signup", email=email, password=password)

    def sign_in(self, email: str, password: str = "correct horse") -> Answer:
        return self.grant("password", email=email, password=password)

    def refresh(self, refresh_token: str) -> Answer:
        return self.grant("refresh_token", refresh_token=refresh_token)

    def confirm(self, email: str) -> None:
        body = json.dumps({"email": email}).encode()
        assert self.request("POST", "/_control/confirm", body).status == 204

    def post_form(
        self, body: bytes, content_type: str = FORM_TYPE, token: str | None = None
    ) -> Answer:
        headers = {"Authorization": f"Bearer {token or self.token}", "Content-Type": content_type}
        return self.request("POST", TRANSCRIPTIONS, body, headers)

    def transcribe(self, audio: bytes, **fields: str) -> Answer:
        return self.post_form(form(audio, **fields))

    def script(self, *replies: dict[str, Any]) -> None:
        body = json.dumps(replies).encode()
        assert self.request("POST", "/_control/replies", body).status == 200

    def set_transcript(self, text: str | None) -> None:
        body = json.dumps({"text": text}).encode()
        assert self.request("PUT", "/_control/transcript", body).status == 204

    def journal(self, query: str = "") -> list[dict[str, Any]]:
        return self.request("GET", f"/_control/requests{query}").json()

    def forget(self) -> None:
        assert self.request("DELETE", "/_control/requests").status == 204


class BackendTestCase(unittest.TestCase):
    """One server with the control API for all tests of a class, which must not upset it."""

    backend: Backend

    @classmethod
    def setUpClass(cls) -> None:
        cls.backend = cls.enterClassContext(Backend("--control"))

    def setUp(self) -> None:
        self.backend.forget()
        self.backend.set_transcript(None)

    def tearDown(self) -> None:
        self.assertNotIn("unexpected", self.backend.log)
        self.assertNotIn("Traceback", self.backend.log)


def tokens_of(answer: Answer) -> list[str]:
    """Both tokens of a new session."""
    return [answer.json()[name] for name in ("access_token", "refresh_token")]


def run_program(*options: str | Path) -> subprocess.CompletedProcess[str]:
    return subprocess.run(
        [sys.executable, PROGRAM, *options],
        capture_output=True,
        text=True,
        timeout=DEADLINE_S,
        check=True,
    )


def part(name: str, content: bytes, extra: str = "", headers: str = "") -> bytes:
    disposition = f'Content-Disposition: form-data; name="{name}"{extra}\r\n{headers}\r\n'
    return f"--{BOUNDARY}\r\n{disposition}".encode() + content + b"\r\n"


def file_part(content: bytes) -> bytes:
    return part("file", content, '; filename="tarq-linux-1.wav"', "Content-Type: audio/wav\r\n")


def closing() -> bytes:
    return f"--{BOUNDARY}--\r\n".encode()


def form(audio: bytes, **fields: str) -> bytes:
    """The form as the client sends it."""
    values = {"model": "whisper-large-v3-turbo", "response_format": "json", **fields}
    parts = [part(name, value.encode()) for name, value in values.items()]
    return b"".join([*parts, file_part(audio), closing()])


def wav(
    samples: bytes, code: int = 1, channels: int = 1, rate: int = 16_000, bits: int = 16
) -> bytes:
    """A WAV with the plain header of 44 bytes."""
    frame = channels * bits // 8
    # fmt: off
    header = struct.pack(
        "<4sI4s4sIHHIIHH4sI", b"RIFF", 36 + len(samples), b"WAVE",
        b"fmt ", 16, code, channels, rate, rate * frame, frame, bits, b"data", len(samples),
    )
    # fmt: on
    return header + samples


SILENCE = wav(bytes(3200))  # 0.1 s
EMPTY = wav(b"")

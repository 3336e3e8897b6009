"""The program under test."""

import json
import signal
import socket
from pathlib import Path
from typing import Collection, Sequence

from harness.backend import Backend
from harness.log import check_log
from harness.process import DEADLINE_S, Process
from harness.session import Session, accepts_connections

WAV_HEADER_BYTES = 44


class Tarq:
    """tarq-linux in a session, with the files it keeps there.

    env is what every run of it gets beside the variables that name the backend.
    """

    def __init__(
        self, session: Session, program: Path, backend: Backend, env: dict[str, str] | None = None
    ) -> None:
        self._session = session
        self.program = session.reachable(program)
        self._backend = backend
        self._env = env or {}
        self._runs: list[Process] = []
        self._killed: set[int] = set()  # process ids
        self._tokens: set[str] = set()
        self.config = session.home / ".config" / "Tarq-Linux"
        self.cache = session.home / ".cache" / "Tarq-Linux"
        self.socket = session.tmp / "tarq-linux-ipc"

    @property
    def keys_file(self) -> Path:
        return self.config / "keys.json"

    @property
    def process(self) -> Process:
        """The run that was started last."""
        return self._runs[-1]

    @property
    def lines(self) -> list[str]:
        """The log of all runs."""
        return [line for run in self._runs for line in run.lines]

    def environment(self) -> dict[str, str]:
        return {
            "SUPABASE_URL": self._backend.url,
            "SUPABASE_ANON_KEY": "anonymous",
            "WORKER_URL": self._backend.url,
            **self._env,
        }

    def sign_in(self, lifetime: int = 3600) -> None:
        """Leave a session on disk, as an earlier run would have."""
        for directory in (self.config.parent, self.config):
            if not directory.exists():
                directory.mkdir(mode=0o700)
                self._session.give(directory)
        self._backend.issue_session(self.keys_file, lifetime)

    def start(
        self,
        env: dict[str, str] | None = None,
        args: Sequence[str] = (),
        *,
        wrapper: Sequence[object] = (),
        signed_in: bool = True,
        listening: bool = True,
    ) -> "Tarq":
        """Start the program; returns once it can be toggled.

        wrapper is a command that runs the program in its own place, such as prlimit.
        signed_in=False leaves the tokens on disk as they are, and listening=False
        returns at once, for a start that isn't meant to last.
        """
        if signed_in:
            self.sign_in()
        self._remember_tokens()
        run = self._session.spawn(
            [*wrapper, self.program, *args],
            env={**self.environment(), **(env or {})},
            name="tarq-linux",
        )
        self._runs.append(run)
        if listening:
            self._session.wait_until(self._listens, "the toggle channel of tarq-linux")
            # It listens before its event loop runs, and loses a signal that comes between.
            exchange(self.socket, b"not a message")
        return self

    def toggle(self) -> int:
        """Run `tarq-linux --toggle`, and return its exit status."""
        return self.command("--toggle").status

    def command(self, *arguments: str) -> Process:
        """Run the program a second time, to its end."""
        name = " ".join(["tarq-linux", *arguments])
        second = self._session.spawn(
            [self.program, *arguments], env=self.environment(), name=name
        )
        second.wait()
        return second

    def wait_recording(
        self, timeout: float = DEADLINE_S, besides: Collection[Path] = ()
    ) -> Path:
        """Wait until sound has arrived in a recording, one besides the older ones."""

        def filled() -> list[Path]:
            found = [path for path in self.recordings() if path not in besides]
            return [path for path in found if size_of(path) > WAV_HEADER_BYTES]

        return self._session.wait_until(filled, "a recording with sound in it", timeout)[-1]

    def recordings(self) -> list[Path]:
        return sorted(self.cache.glob("tarq-linux-*.wav"))

    def history(self) -> list[str]:
        """The texts in the history on disk, newest first."""
        try:
            content = (self.config / "history.json").read_text(encoding="utf-8")
        except FileNotFoundError:
            return []
        return [entry["text"] for entry in json.loads(content)["entries"]]

    def stop(self, *, at_once: bool = False) -> None:
        """End the program by SIGTERM, which it takes for a normal end.

        A text arrives before the tool that pasted it has ended, so unless at_once is
        set the program may finish what it does first.
        """
        if self._runs and self.process.status is None:
            if not at_once:
                self._session.wait_until(self._has_no_children, "the end of the tools it runs")
            self.process.stop()
        for run in self._runs:
            expected = -signal.SIGKILL if run.pid in self._killed else 0
            assert run.status == expected, f"exit status {run.status}\n{run.log()}"

    def kill(self) -> None:
        """End the program as a crash would."""
        self._killed.add(self.process.pid)
        self.process.kill()

    def check_log(self, expected: Sequence[str] = (), secrets: Sequence[str] = ()) -> None:
        """Check the log of all runs; the tokens and the history's texts are secrets too."""
        self._remember_tokens()
        check_log(self.lines, expected, [*secrets, *self._tokens, *self.history()])

    def _listens(self) -> bool:
        if self.process.status is not None:
            raise AssertionError(f"ended before it listened\n{self.process.log()}")
        return (self.config / "ipc-token").exists() and accepts_connections(self.socket)

    def _has_no_children(self) -> bool:
        children = Path(f"/proc/{self.process.pid}/task/{self.process.pid}/children")
        try:
            return not children.read_text()
        except FileNotFoundError:  # it has ended by itself
            return True

    def _remember_tokens(self) -> None:
        try:
            keys = json.loads(self.keys_file.read_text(encoding="utf-8"))
            tokens = [keys.get(name) for name in ("accessToken", "refreshToken")]
        except (OSError, ValueError, AttributeError):
            return  # absent, or broken on purpose
        self._tokens |= {token for token in tokens if token}


def size_of(path: Path) -> int:
    """0 for a file that has gone meanwhile."""
    try:
        return path.stat().st_size
    except FileNotFoundError:
        return 0


def exchange(channel: Path, *pieces: bytes) -> None:
    """Send a message to the toggle channel, and return when it has been read.

    The program closes a connection once it has read from it.
    """
    with socket.socket(socket.AF_UNIX) as client:
        client.connect(str(channel))  # waits for room in the queue, which it wouldn't later
        client.settimeout(DEADLINE_S)
        for piece in pieces:
            client.sendall(piece)
        try:
            assert client.recv(1) == b"", "the channel never answers"
        except ConnectionResetError:  # closed with a part of the message unread
            pass

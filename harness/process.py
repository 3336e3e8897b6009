"""Child processes that are read line by line and never outlive the harness."""

import os
import re
import signal
import subprocess
import sys
import threading
import time
from typing import Callable, NamedTuple, Sequence

# Generous, since a sanitized program on a busy two-core machine is slow; every
# wait ends at the event, so a deadline only costs time when a test fails.
DEADLINE_S = 30.0


class DeadlineExceeded(AssertionError):
    """An awaited event didn't come; the message says which, and shows the logs."""


class User(NamedTuple):
    """The account that a session runs as when the harness itself is root."""

    uid: int
    gid: int


def guarded(argv: Sequence[object], user: User | None = None) -> list[str]:
    """The command line that runs argv as user and dies with the harness.

    The kernel sends the death signal when the *thread* that started the child
    ends, so long-lived children belong to the main thread.
    """
    prefix = ["setpriv", "--pdeathsig", "KILL"]
    if user is not None:
        prefix += [f"--reuid={user.uid}", f"--regid={user.gid}", "--clear-groups"]
    return prefix + [str(word) for word in argv]


def exit_on_sigterm() -> None:
    """Make SIGTERM unwind the stack, so that a terminated run cleans up too."""
    signal.signal(signal.SIGTERM, lambda number, _frame: sys.exit(128 + number))


class Process:
    """A child in a process group of its own, with stdout and stderr as one list of lines."""

    def __init__(
        self,
        argv: Sequence[object],
        *,
        env: dict[str, str] | None = None,
        user: User | None = None,
        name: str | None = None,
    ) -> None:
        self.name = name or os.path.basename(str(argv[0]))
        self._lines: list[str] = []
        self._changed = threading.Condition()
        self._at_end = False
        self._popen = subprocess.Popen(
            guarded(argv, user),
            env=env,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            start_new_session=True,
        )
        self.pid = self._popen.pid
        self._reader = threading.Thread(target=self._read, name=self.name, daemon=True)
        self._reader.start()

    @property
    def lines(self) -> list[str]:
        with self._changed:
            return list(self._lines)

    @property
    def status(self) -> int | None:
        """Exit status, negative for a signal, None while it runs."""
        return self._popen.poll()

    def log(self) -> str:
        state = "running" if self.status is None else f"ended with status {self.status}"
        return "\n".join([f"--- {self.name} ({state})", *self.lines])

    def wait_for(
        self, ready: Callable[[list[str]], object], what: str, timeout: float = DEADLINE_S
    ):
        """Evaluate ready(lines) at each new line until it is true, and return its value."""
        deadline = time.monotonic() + timeout
        with self._changed:
            while not (value := ready(self._lines)):
                if self._at_end:
                    break
                if not self._changed.wait(deadline - time.monotonic()):
                    break
        if value:
            return value
        if self._at_end:
            self._reap()  # for the status in the message
        raise DeadlineExceeded(f"{self.name}: waited for {what}\n{self.log()}")

    def wait_for_line(self, regex: str, timeout: float = DEADLINE_S, since: int = 0) -> re.Match:
        """The first match in the lines from index since on, past or to come."""
        pattern = re.compile(regex)

        def first_match(lines: list[str]) -> re.Match | None:
            matches = (pattern.search(line) for line in lines[since:])
            return next((match for match in matches if match), None)

        return self.wait_for(first_match, f"a line like {regex!r}", timeout)

    def wait(self, timeout: float = DEADLINE_S) -> int:
        """Wait for the end by its own will, and return the exit status."""
        try:
            status = self._popen.wait(timeout)
        except subprocess.TimeoutExpired:
            raise DeadlineExceeded(f"{self.name}: waited for its end\n{self.log()}") from None
        self._finish_reading()
        return status

    def stop(self, timeout: float = DEADLINE_S) -> int:
        """SIGTERM, and SIGKILL to what is left of the group; returns the exit status."""
        if self.status is None:
            self._popen.terminate()
            self._reap(timeout)
        return self.kill()

    def send_signal(self, number: signal.Signals) -> None:
        self._popen.send_signal(number)

    def kill(self) -> int:
        """SIGKILL to the whole group; returns the exit status."""
        try:
            os.killpg(self.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        status = self._popen.wait()
        self._finish_reading()
        return status

    def _read(self) -> None:
        # errors="replace": a log must be shown even if the program wrote rubbish.
        for raw in self._popen.stdout:
            with self._changed:
                self._lines.append(raw.decode(errors="replace").rstrip("\n"))
                self._changed.notify_all()
        with self._changed:
            self._at_end = True
            self._changed.notify_all()

    def _reap(self, timeout: float = 1.0) -> None:
        try:
            self._popen.wait(timeout)
        except subprocess.TimeoutExpired:
            pass

    def _finish_reading(self) -> None:
        # Bounded, as a grandchild in a session of its own may hold the pipe open.
        self._reader.join(timeout=1.0)
        if not self._reader.is_alive():
            self._popen.stdout.close()

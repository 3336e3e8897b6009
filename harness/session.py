"""The private ground that every kind of desktop stands on."""

import atexit
import os
import shutil
import signal
import socket
import subprocess
import tempfile
import time
from contextlib import ExitStack
from pathlib import Path
from typing import Callable, Sequence

from harness.process import DEADLINE_S, DeadlineExceeded, Process, User, guarded

POLL_S = 0.02

# Whatever isn't named here stays outside: the user's display, bus, audio server,
# scaling and theme must not leak into a private desktop.
INHERITED = {
    "PATH",
    "LD_LIBRARY_PATH",
    "ASAN_OPTIONS",
    "LSAN_OPTIONS",
    "UBSAN_OPTIONS",
    "TSAN_OPTIONS",
    "GCOV_PREFIX",
    "GCOV_PREFIX_STRIP",
    "LLVM_PROFILE_FILE",
    "PYTHONPYCACHEPREFIX",
    "QSG_RENDER_LOOP",
    "QSG_RHI_BACKEND",
    "QSG_RHI_DISABLE_DISK_CACHE",
    "QT_QUICK_BACKEND",
    "QT_LOGGING_RULES",
}
INHERITED_PREFIX = "TARQ_"

# No service directories: the host's services (accessibility, portals, keyrings)
# would be started into the private session and outlive it.
BUS_CONFIG = """\
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path={socket}</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""


class Session:
    """A home, a runtime directory and an environment, with everything that runs in them.

    Subclasses override bring_up(). Tear-down stops the processes in reverse order
    and removes the directories, also when bring-up failed half way or the
    interpreter ends without leaving the context.
    """

    def __init__(self, *, dbus: bool = False, user: User | None = None) -> None:
        self.user = user
        self.processes: list[Process] = []
        self._dbus = dbus

    def __enter__(self):
        return self.start()

    def __exit__(self, *_exception) -> None:
        self.close()

    def start(self):
        # Short, since the path of a local socket is limited to 107 bytes.
        self.root = Path(tempfile.mkdtemp(prefix="tarq-", dir="/tmp"))
        atexit.register(self.close)
        try:
            self._make_ground()
            self.bring_up()
        except BaseException:
            self.close()
            raise
        return self

    def bring_up(self) -> None:
        if self._dbus:
            self._start_bus()

    def close(self) -> None:
        atexit.unregister(self.close)
        for process in reversed(self.processes):
            process.stop()
        self._end_strays()
        shutil.rmtree(self.root, ignore_errors=True)

    def spawn(
        self,
        argv: Sequence[object],
        *,
        env: dict[str, str] | None = None,
        name: str | None = None,
    ) -> Process:
        """Start a process that runs until it is stopped or the session is closed."""
        process = Process(argv, env={**self.env, **(env or {})}, user=self.user, name=name)
        self.processes.append(process)
        return process

    def run(
        self,
        argv: Sequence[object],
        *,
        env: dict[str, str] | None = None,
        stdin: str = "",
        check: bool = True,
        timeout: float = DEADLINE_S,
    ) -> subprocess.CompletedProcess:
        """Run a command to its end, and return its status, stdout and stderr (text).

        The output goes through files: a clipboard tool leaves a process behind that
        holds a pipe open for as long as it owns the clipboard.
        """
        with ExitStack() as files:
            source, out, err = (
                files.enter_context(tempfile.TemporaryFile(dir=self.tmp)) for _ in range(3)
            )
            source.write(stdin.encode())
            source.seek(0)
            try:
                done = subprocess.run(
                    guarded(argv, self.user),
                    env={**self.env, **(env or {})},
                    stdin=source,
                    stdout=out,
                    stderr=err,
                    timeout=timeout,
                    check=False,
                )
            except subprocess.TimeoutExpired as error:
                raise DeadlineExceeded(f"{error}\n{self.logs()}") from None
            for file in (out, err):
                file.seek(0)
            done.stdout = out.read().decode(errors="replace")
            done.stderr = err.read().decode(errors="replace")
        if check and done.returncode != 0:
            words = " ".join(str(word) for word in argv)
            raise AssertionError(f"{words}: status {done.returncode}\n{done.stdout}{done.stderr}")
        return done

    def wait_until(self, predicate: Callable[[], object], what: str, timeout: float = DEADLINE_S):
        """For what announces itself by no event: look again shortly until it is true."""
        deadline = time.monotonic() + timeout
        while not (value := predicate()):
            if time.monotonic() > deadline:
                raise DeadlineExceeded(f"waited {timeout:g} s for {what}\n{self.logs()}")
            time.sleep(POLL_S)
        return value

    def wait_for_socket(self, path: Path, what: str) -> None:
        self.wait_until(lambda: accepts_connections(path), what)

    def logs(self) -> str:
        return "\n".join(process.log() for process in self.processes)

    def screenshot(self, path: Path | str) -> None:
        """Save a picture of the screen, where there is one."""

    def give(self, path: Path) -> Path:
        """Hand a file or directory that the harness made to the session's user."""
        if self.user is not None:
            os.chown(path, *self.user)
        return path

    def write(self, name: str, content: str) -> Path:
        """A configuration file for one of the session's programs."""
        path = self.root / name
        path.write_text(content, encoding="utf-8")
        return self.give(path)

    def reachable(self, program: Path) -> Path:
        """The program itself, or a copy where the session's user may not go to it."""
        if self.run(["test", "-x", program], check=False).returncode == 0:
            return program
        return self.copy_program(program, self.root)

    def copy_program(self, program: Path, directory: Path) -> Path:
        """A copy of a program, with the modules that it would load from beside it."""
        for module in program.parent.glob("*.so"):
            self.give(Path(shutil.copy(module, directory)))
        return self.give(Path(shutil.copy(program, directory)))

    def _make_ground(self) -> None:
        self.home, self.runtime, self.tmp = (self.root / name for name in ("home", "run", "tmp"))
        self.give(self.root)
        for directory in (self.home, self.runtime, self.tmp):
            directory.mkdir(mode=0o700)
            self.give(directory)
        self.env = {
            name: value
            for name, value in os.environ.items()
            if name in INHERITED or name.startswith(INHERITED_PREFIX)
        }
        self.env |= {
            "HOME": str(self.home),
            "LANG": "C.UTF-8",
            "TMPDIR": str(self.tmp),
            "XDG_RUNTIME_DIR": str(self.runtime),
            # Named even where no server runs: an unset variable lets clients start one.
            "PULSE_SERVER": f"unix:{self.runtime}/pulse/native",
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.runtime}/bus",
        }

    def _start_bus(self) -> None:
        config = self.write("bus.conf", BUS_CONFIG.format(socket=self.runtime / "bus"))
        bus = self.spawn(
            ["dbus-daemon", f"--config-file={config}", "--nofork", "--nopidfile", "--print-address"]
        )
        bus.wait_for_line("^unix:path=")

    def _end_strays(self) -> None:
        """Kill what daemonised itself out of every process group, as clipboard owners do."""

        def none_left() -> bool:
            strays = list(processes_with_home(self.home))
            for pid in strays:
                try:
                    os.kill(pid, signal.SIGKILL)
                except ProcessLookupError:
                    pass
            return not strays

        self.wait_until(none_left, f"the end of the processes in {self.root}")


class OffscreenSession(Session):
    """For programs whose windows nobody has to see."""

    def bring_up(self) -> None:
        super().bring_up()
        self.env |= {
            "QT_QPA_PLATFORM": "offscreen",
            # Nothing is drawn. Left to itself Qt draws by software here, and leaks images.
            "QT_QUICK_BACKEND": "rhi",
            "QSG_RHI_BACKEND": "null",
        }


def processes_with_home(home: Path):
    """Ids of the living processes whose HOME is this directory."""
    marker = f"\0HOME={home}\0".encode()
    for entry in Path("/proc").iterdir():
        if not entry.name.isdigit():
            continue
        try:
            environment = (entry / "environ").read_bytes()
        except OSError:  # ended meanwhile, or somebody else's
            continue
        if marker in b"\0" + environment:
            yield int(entry.name)


def accepts_connections(path: Path) -> bool:
    with socket.socket(socket.AF_UNIX) as client:
        try:
            client.connect(str(path))
        except OSError:
            return False
        return True

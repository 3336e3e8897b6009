"""The bases of the system tests: everything a test needs, new for each one."""

import contextlib
import os
import re
import shutil
import sys
import time
import unittest
from pathlib import Path
from urllib.parse import urlsplit

from harness.backend import Backend
from harness.desktop import VirtualDesktop
from harness.microphone import Microphone
from harness.process import exit_on_sigterm
from harness.session import OffscreenSession, Session
from harness.tarq import Tarq
from harness.targets import Editor

# The program swallows a toggle that follows another one within 300 ms.
TOGGLE_GUARD_S = 0.3


def build_tree() -> Path:
    """The build tree that TARQ_BUILD_DIR names."""
    directory = os.environ.get("TARQ_BUILD_DIR")
    if not directory:
        raise AssertionError("TARQ_BUILD_DIR has to name a build tree")
    return Path(directory).resolve()


def program(name: str) -> Path:
    """A program of the build tree."""
    return build_tree() / "bin" / name


def built_in_worker(session: Session, backend: Backend) -> dict[str, str]:
    """The environment of a program for which this backend is the worker that it was built for.

    The build knows a port of this machine, where nobody listens. A library that is loaded before
    the program's own leads the connections from there to the backend.
    """
    cache = build_tree() / "CMakeCache.txt"
    if not cache.exists():  # an installed program, whose worker is on the network
        return {}
    worker = re.search(r"^TARQ_WORKER_BASE_URL:.*=http://127.0.0.1:(\d+)$", cache.read_text(), re.M)
    port = worker[1]
    library = build_tree() / "tests" / "support" / "tarq-redirected-port.so"
    # In the session's own directory: the variable takes no path with a blank.
    preloaded = session.give(Path(shutil.copy(library, session.root)))
    return {
        "LD_PRELOAD": str(preloaded),
        "TARQ_TEST_REDIRECTED_PORT": f"{port}:{urlsplit(backend.url).port}",
        # It minds a library that comes before it.
        "ASAN_OPTIONS": session.env.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0",
    }


class TarqTestCase(unittest.TestCase):
    """A session with a microphone, a backend and Tarq, but nowhere to paste into.

    Each test ends with a check of Tarq's exit status and log: a test that provokes
    warnings names them in expected_log.
    """

    expected_log: list[str] = []
    starts_tarq = True  # False: the test calls self.start_tarq() itself
    backend_is_built_in_worker = False  # True: it gets what goes past WORKER_URL, too

    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        exit_on_sigterm()

    def make_session(self) -> Session:
        return OffscreenSession()

    def make_targets(self) -> None:
        """Open the windows that text can go to."""

    def run(self, result=None):
        self._result = result or self.defaultTestResult()
        return super().run(self._result)

    def setUp(self) -> None:
        super().setUp()
        self.expected_log = list(self.expected_log)
        self.spoken: list[str] = []
        self._last_toggle = 0.0
        self.desktop = self.enterContext(self.make_session())
        self.addCleanup(self._report_failure)
        self.microphone = Microphone(self.desktop).start()
        self.backend = Backend(self.desktop)
        env = built_in_worker(self.desktop, self.backend) if self.backend_is_built_in_worker else {}
        self.tarq = Tarq(self.desktop, program("tarq-linux"), self.backend, env)
        self.make_targets()
        if self.starts_tarq:
            self.start_tarq()
        self.addCleanup(self._end_tarq)

    def start_tarq(self, **options) -> None:
        self.tarq.start(**options)

    def toggle(self) -> None:
        """Toggle by a second process, not so soon that the program would swallow it."""
        self.wait_toggle_guard()
        self.send_toggle()
        self._last_toggle = time.monotonic()

    def send_toggle(self) -> None:
        self.assertEqual(self.tarq.toggle(), 0)

    def wait_toggle_guard(self) -> None:
        guarded_until = self._last_toggle + TOGGLE_GUARD_S
        self.desktop.wait_until(lambda: time.monotonic() > guarded_until, "the toggle guard")

    def start_recording(self) -> Path:
        """Toggle a recording on, and return its file once sound is in it."""
        older = self.tarq.recordings()
        self.toggle()
        recording = self.tarq.wait_recording(besides=older)
        # The guard runs from when the program has handled the toggle, which may be later.
        self._last_toggle = time.monotonic()
        return recording

    def record(self) -> Path:
        """Record a moment of silence from toggle to toggle, and return its file."""
        recording = self.start_recording()
        self.toggle()
        return recording

    def speak(self, text: str) -> None:
        self.spoken.append(text)
        self.microphone.speak(text)

    def dictate(self, text: str) -> None:
        """Record this text from toggle to toggle; the backend is to answer with it."""
        self.backend.set_transcript(text)
        self.start_recording()
        self.speak(text)
        self.toggle()

    def _end_tarq(self) -> None:
        self.tarq.stop()
        self.tarq.check_log(self.expected_log, self.spoken)

    def _failed(self) -> bool:
        failures = [*self._result.failures, *self._result.errors]
        return any(test.id().startswith(self.id()) for test, _trace in failures)

    def _report_failure(self) -> None:
        # Runs last before the desktop goes, so it also sees what the checks found.
        if not self._failed():
            return
        log = self.desktop.logs()
        print(f"\n=== {self.id()}\n{log}", file=sys.stderr)
        directory = os.environ.get("TARQ_TEST_ARTIFACTS")
        if directory:
            artifacts = Path(directory).resolve()
            artifacts.mkdir(parents=True, exist_ok=True)
            (artifacts / f"{self.id()}.log").write_text(log)
            with contextlib.suppress(AssertionError):  # the test may have ended the display
                self.desktop.screenshot(artifacts / f"{self.id()}.png")


class DictationTestCase(TarqTestCase):
    """The same on a desktop, with an editor that has the focus."""

    def make_session(self) -> Session:
        return VirtualDesktop()

    def make_targets(self) -> None:
        self.editor = Editor(self.desktop, program("harness-editor"))

    def start_tarq(self, **options) -> None:
        """Start Tarq, and give the focus back to the editor."""
        super().start_tarq(**options)
        self.editor.focus()

"""The delays of a dictation that are the program's own: key to upload, and answer to paste."""

import queue
import socket
import statistics
import subprocess
import threading
import time
from pathlib import Path

from bench.bed import Bed
from bench.row import Row
from harness.desktop import VirtualDesktop
from harness.process import DEADLINE_S

ROUNDS = 15
# From the clipboard to the raising of the window, and from there to the keys.
FIXED_WAITS_MS = 400
# Of the usual keyboard that the X server pretends to have.
KEYCODES = {"space": 65, "v": 55}
HOLD_S = 2.0  # the hotkey starts a recording after 1.5 s
ANSWER = b'{"text":"words"}'
REPLY = (
    b"HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: %d\r\n\r\n" % len(ANSWER)
    + ANSWER
)


class StopWatchWorker:
    """Answers every recording, and notes when its first byte came and when the answer had gone."""

    def __init__(self) -> None:
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.url = f"http://127.0.0.1:{self._listener.getsockname()[1]}"
        self.first_bytes: list[float] = []
        self.answers: list[float] = []
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self) -> None:
        while True:
            connection, _address = self._listener.accept()
            threading.Thread(target=self._serve, args=[connection], daemon=True).start()

    def _serve(self, connection: socket.socket) -> None:
        while received := received_from(connection):
            first = time.perf_counter()
            while b"\r\n\r\n" not in received:
                received += connection.recv(65536)
            head, _, body = received.partition(b"\r\n\r\n")
            length = next(
                int(line.partition(b":")[2])
                for line in head.split(b"\r\n")
                if line.lower().startswith(b"content-length:")
            )
            missing = length - len(body)
            while missing > 0:
                missing -= len(connection.recv(min(missing, 65536)))
            connection.sendall(REPLY)
            self.first_bytes.append(first)
            self.answers.append(time.perf_counter())


def received_from(connection: socket.socket) -> bytes:
    """What came next; nothing at the end, even if it is a rude one."""
    try:
        return connection.recv(65536)
    except ConnectionError:
        return b""


class Keys:
    """The presses and releases on a desktop, each at the time at which the X server told it."""

    def __init__(self, desktop: VirtualDesktop) -> None:
        self._desktop = desktop
        self._seen: queue.SimpleQueue[tuple[str, int, float]] = queue.SimpleQueue()
        self._process = subprocess.Popen(
            ["xinput", "test-xi2", "--root"],
            env=desktop.env,
            stdout=subprocess.PIPE,
            text=True,
        )
        threading.Thread(target=self._read, daemon=True).start()
        while self._seen.empty():  # it listens when the first one is seen
            desktop.press("F35")

    def wait(self, event: str, name: str) -> float:
        """The time of the next event of that kind for that key, past or to come."""
        keycode = KEYCODES[name]
        while True:
            kind, key, at = self._seen.get(timeout=DEADLINE_S)
            if (kind, key) == (event, keycode):
                return at

    def stop(self) -> None:
        self._process.terminate()
        self._process.wait()

    def _read(self) -> None:
        kind = None
        for line in self._process.stdout:
            if line.startswith("EVENT"):
                kind, at = line.partition("(")[2].rstrip(")\n"), time.perf_counter()
            elif line.startswith("    detail:") and kind in ("RawKeyPress", "RawKeyRelease"):
                self._seen.put((kind.removeprefix("Raw"), int(line.split()[1]), at))
                kind = None


def seconds_to_upload_and_paste(bed: Bed, worker: StopWatchWorker, keys: Keys) -> tuple:
    before = len(worker.answers)
    bed.desktop.run(["xdotool", "keydown", "super", "keydown", "space"])
    time.sleep(HOLD_S)
    bed.desktop.run(["xdotool", "keyup", "space", "keyup", "super"])
    released = keys.wait("KeyRelease", "space")
    pasted = keys.wait("KeyPress", "v")
    upload, answer = worker.first_bytes[before], worker.answers[before]
    return upload - released, pasted - answer


def bare_paste(bed: Bed, keys: Keys) -> float:
    """What the two tools take by themselves; the first looks for its success every 30 ms."""
    window = bed.desktop.window_of(bed.editor.process.pid)
    begin = time.perf_counter()
    bed.desktop.run(["xdotool", "windowactivate", "--sync", window])
    bed.desktop.run(["xdotool", "key", "--clearmodifiers", "ctrl+v"])
    return keys.wait("KeyPress", "v") - begin


def bare_upload(worker: StopWatchWorker) -> float:
    """A connection, and the first byte over it."""
    before = len(worker.first_bytes)
    begin = time.perf_counter()
    host, port = worker.url.removeprefix("http://").split(":")
    with socket.create_connection((host, int(port))) as connection:
        connection.sendall(b"POST / HTTP/1.1\r\nContent-Length: 0\r\n\r\n")
        connection.recv(1)
        while len(worker.first_bytes) == before:
            time.sleep(0.0001)
    return worker.first_bytes[before] - begin


def measure(build: Path) -> list[Row]:
    with VirtualDesktop() as desktop:
        bed = Bed(build, desktop)
        worker = StopWatchWorker()
        keys = Keys(desktop)
        uploads = [bare_upload(worker) for _ in range(ROUNDS)]
        pastes = [bare_paste(bed, keys) for _ in range(ROUNDS)]
        # A pressed key repeats on this server, and is seen as released each time otherwise.
        bed.start(env={"WORKER_URL": worker.url, "TARQ_X11_DETECTABLE_REPEAT": "1"})
        rounds = [seconds_to_upload_and_paste(bed, worker, keys) for _ in range(ROUNDS)]
        keys.stop()
    to_upload, to_paste = (statistics.median(column) * 1000 for column in zip(*rounds))
    return [
        Row(
            "hotkey's release to the upload's first byte",
            to_upload,
            "ms",
            statistics.median(uploads) * 1000,
            "a connection and a byte over it",
        ),
        Row(
            f"answer to paste key, beyond {FIXED_WAITS_MS} ms of waits",
            to_paste - FIXED_WAITS_MS,
            "ms",
            statistics.median(pastes) * 1000,
            "xdotool alone: raise the window, press the key",
        ),
    ]

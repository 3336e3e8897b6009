#!/usr/bin/python3
"""What the bubble costs: time to its first frame, and frames and processor time while idle.

Runs on a virtual desktop: python3 bench/bubble.py BUILD_DIR
"""

import os
import statistics
import subprocess
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1]))

from harness.backend import Backend
from harness.desktop import VirtualDesktop
from harness.tarq import Tarq
from harness.targets import Editor

ROUNDS = 20
IDLE_S = 10
# Qt then writes a line for each frame of each window.
FRAME_LOG = {"QT_LOGGING_RULES": "qt.scenegraph.time.renderloop.debug=true"}
FRAME = "rame rendered"


def marks(argv: list[str], env: dict[str, str], words: list[str]) -> list[float]:
    """When each word was first seen in the log, in milliseconds since the start."""
    begin = time.perf_counter()
    process = subprocess.Popen(argv, env=env, stderr=subprocess.PIPE, text=True)
    seen: list[float] = []
    for line in process.stderr:
        if words[len(seen)] in line:
            seen.append((time.perf_counter() - begin) * 1000)
            if len(seen) == len(words):
                break
    process.terminate()
    process.stderr.close()
    process.wait()
    return seen


def first_frame(build: Path, env: dict[str, str]) -> None:
    bare: list[float] = []
    ours: list[list[float]] = []
    for _ in range(ROUNDS):  # in turns, so that both meet the same moods of the machine
        bare += marks([str(build / "bin/bare-window")], env, [FRAME])
        ours.append(marks([str(build / "bin/tarq-linux")], env, ["Super+Space", FRAME]))
    ready, frame = (statistics.median(column) for column in zip(*ours))
    floor = statistics.median(bare)
    print(f"{'bare window, first frame':<34} {floor:7.1f} ms")
    print(f"{'services and hotkey ready':<34} {ready:7.1f} ms")
    print(f"{'documents, window, first frame':<34} {frame - ready:7.1f} ms more")
    print(f"{'bubble, first frame':<34} {frame:7.1f} ms   ({frame / floor:.2f} times the bare one)")


def cpu_ms(pid: int) -> float:
    """Processor time of the process itself, without the tools that it has started."""
    fields = Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return sum(map(int, fields[11:13])) * 1000 / os.sysconf("SC_CLK_TCK")


def idle(name: str, tarq: Tarq) -> None:
    process = tarq.process
    time.sleep(8)  # past the start, the fade and the hiding
    frames, cpu = len(tarq.lines), cpu_ms(process.pid)
    time.sleep(IDLE_S)
    drawn = sum(FRAME in line for line in tarq.lines[frames:])
    used = cpu_ms(process.pid) - cpu
    share = used / IDLE_S / 10
    print(f"{name:<34} {drawn} frames, {used:.0f} ms of processor time ({share:.2f}% of a core)")


def main() -> None:
    build = Path(sys.argv[1]).resolve()
    with VirtualDesktop() as desktop:
        backend = Backend(desktop)
        tarq = Tarq(desktop, build / "bin/tarq-linux", backend)
        tarq.sign_in()
        editor = Editor(desktop, build / "bin/harness-editor")
        first_frame(build, desktop.env | tarq.environment() | FRAME_LOG)

        tarq.start(env=FRAME_LOG, signed_in=False)
        editor.focus()
        idle("10 s idle, shown, monitor on", tarq)
        tarq.stop()
        # Without xdotool the monitor never starts, and the bubble hides.
        tools = desktop.root / "tools"
        tools.mkdir()
        (tools / "setpriv").symlink_to("/usr/bin/setpriv")  # starts the program
        tarq.start(env=FRAME_LOG | {"PATH": str(tools)}, signed_in=False)
        idle("10 s idle, hidden, monitor off", tarq)
        tarq.stop()


if __name__ == "__main__":
    main()

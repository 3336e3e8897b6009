"""What an idle program costs: frames and processor time."""

import os
import time
from pathlib import Path

from bench.bed import Bed
from bench.row import Row
from bench.startup import FRAME, FRAME_LOG
from harness.desktop import VirtualDesktop
from harness.process import Process

SETTLING_S = 8  # past the start, the fade and the hiding
IDLE_S = 20


def cpu_ms(pid: int) -> float:
    """Processor time of the process itself, without the tools that it has started."""
    fields = Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return sum(map(int, fields[11:13])) * 1000 / os.sysconf("SC_CLK_TCK")


def idle(process: Process) -> tuple[int, float]:
    """Frames, and the share of a core in percent."""
    time.sleep(SETTLING_S)
    lines, cpu = len(process.lines), cpu_ms(process.pid)
    time.sleep(IDLE_S)
    frames = sum(FRAME in line for line in process.lines[lines:])
    return frames, (cpu_ms(process.pid) - cpu) / IDLE_S / 10


def measure(build: Path) -> list[Row]:
    with VirtualDesktop() as desktop:
        bare = desktop.spawn([build / "bin/bare-window"], env=FRAME_LOG)
        least_frames, least_cpu = idle(bare)
        bare.stop()

        bed = Bed(build, desktop)
        bed.start(env=FRAME_LOG)
        shown_frames, shown_cpu = idle(bed.tarq.process)
        bed.tarq.stop()
        # Without xdotool the focus isn't watched, and the bubble hides.
        tools = desktop.root / "tools"
        tools.mkdir()
        (tools / "setpriv").symlink_to("/usr/bin/setpriv")  # starts the program
        bed.tarq.start(env=FRAME_LOG | {"PATH": str(tools)}, signed_in=False)
        hidden_frames, hidden_cpu = idle(bed.tarq.process)
        bed.tarq.stop()
    floor_is = "bare Qt Quick window"
    span = f"{IDLE_S} s idle"
    return [
        Row(f"{span}, bubble shown: frames", shown_frames, "", least_frames, floor_is),
        Row(f"{span}, focus watched: processor", shown_cpu, "%", least_cpu, floor_is),
        Row(f"{span}, bubble hidden: frames", hidden_frames, "", least_frames, floor_is),
        Row(f"{span}, focus not watched: processor", hidden_cpu, "%", least_cpu, floor_is),
    ]

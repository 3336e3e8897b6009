"""How much memory the program holds: its proportional share (PSS), in megabytes."""

import re
import time
from pathlib import Path

from bench.bed import Bed
from bench.row import Row
from harness.bubble import Bubble
from harness.desktop import VirtualDesktop

DICTATIONS = 100
WINDOWS = ("Profile", "History", "Settings", "About Tarq")
GUARD_S = 0.3  # a toggle that follows another one sooner is swallowed


def pss_mb(pid: int) -> float:
    rollup = Path(f"/proc/{pid}/smaps_rollup").read_text()
    return int(re.search(r"^Pss: +(\d+) kB", rollup, re.MULTILINE)[1]) / 1024


def open_and_close(bubble: Bubble, desktop: VirtualDesktop, entry: str) -> None:
    menu = bubble.open_menu()
    menu.choose(entry)
    known = {bubble.window, menu.window}
    window = desktop.wait_until(
        lambda: set(bubble.windows()) - known, f"the window of {entry}"
    ).pop()
    time.sleep(0.5)  # so that all of it has been drawn
    desktop.run(["wmctrl", "-i", "-c", hex(int(window))])
    bubble.wait_alone()


def dictate(bed: Bed, text: str) -> None:
    before = set(bed.tarq.recordings())
    bed.backend.set_transcript(text)
    bed.tarq.toggle()
    bed.tarq.wait_recording(besides=before)
    time.sleep(GUARD_S)
    bed.tarq.toggle()
    bed.editor.wait_for_text(re.compile(re.escape(text)))


def measure(build: Path) -> list[Row]:
    rows = []

    def row(what: str, pid: int) -> None:
        rows.append(Row(f"memory {what}", pss_mb(pid), "MB", floor, floor_is))

    with VirtualDesktop() as desktop:
        bed = Bed(build, desktop)
        bare = desktop.spawn([build / "bin/bare-window"])
        desktop.window_of(bare.pid)
        time.sleep(1)
        floor, floor_is = pss_mb(bare.pid), "bare Qt Quick window"
        bare.stop()

        bubble = bed.start()
        pid = bed.tarq.process.pid
        row("after the start", pid)
        floor, floor_is = rows[-1].figure, "after the start"
        for entry in WINDOWS:
            open_and_close(bubble, desktop, entry)
            row(f"after {entry} was open too", pid)
        floor, floor_is = rows[-1].figure, "after the windows"
        bed.editor.focus()
        for number in range(DICTATIONS):
            dictate(bed, f"words {number}.")
        row(f"after {DICTATIONS} dictations too", pid)
    return rows

"""How long short-lived processes take, and how soon a start shows the bubble."""

import subprocess
import time
from pathlib import Path

from bench.bed import Bed
from bench.row import Row, medians_in_turns
from harness.desktop import VirtualDesktop

# Qt then writes a line for each frame of each window.
FRAME_LOG = {"QT_LOGGING_RULES": "qt.scenegraph.time.renderloop.debug=true"}
FRAME = "rame rendered"


def to_the_end(argv: list[object], env: dict[str, str]) -> float:
    begin = time.perf_counter()
    subprocess.call(
        [str(word) for word in argv], env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL
    )
    return (time.perf_counter() - begin) * 1000


def to_the_word(argv: list[object], env: dict[str, str], word: str) -> float:
    """Until the word is seen in the log; the process is killed then."""
    begin = time.perf_counter()
    process = subprocess.Popen(
        [str(each) for each in argv], env=env, stderr=subprocess.PIPE, text=True
    )
    for line in process.stderr:
        if word in line:
            elapsed = (time.perf_counter() - begin) * 1000
            break
    process.kill()  # a request to quit is lost before the event loop runs
    process.communicate()
    return elapsed


def compare_clients(bed: Bed) -> list[Row]:
    desktop = bed.desktop
    desktop.spawn(["copyq", "--start-server"])
    client = ["copyq", "eval", "1"]
    desktop.wait_until(
        lambda: desktop.run(client, check=False).returncode == 0, "the CopyQ server"
    )
    # As somebody's key binding starts them: without the platform that the harness chooses.
    env = {name: value for name, value in desktop.env.items() if name != "QT_QPA_PLATFORM"}
    tarq = bed.tarq.program
    medians = medians_in_turns(
        100,
        floor=lambda: to_the_end([bed.build / "bin/bare-application"], env),
        light=lambda: to_the_end([bed.build / "bin/light-application"], env),
        copyq=lambda: to_the_end(client, env),
        toggle=lambda: to_the_end([tarq, "--toggle"], env),
        help=lambda: to_the_end([tarq, "--help"], env),
    )
    return [
        Row("--toggle, whole process", medians["toggle"], "ms", medians[floor], floor_is)
        for floor, floor_is in (
            ("floor", "bare QApplication, linked with the same libraries as Tarq"),
            ("light", "bare QApplication that links Qt Widgets alone"),
            ("copyq", "the CopyQ client"),
        )
    ] + [Row("--help, whole process", medians["help"], "ms", medians["floor"], "the first of them")]


def compare_windows(bed: Bed) -> list[Row]:
    env = bed.desktop.env | bed.tarq.environment() | FRAME_LOG
    program = [bed.tarq.program]
    medians = medians_in_turns(
        20,
        floor=lambda: to_the_word([bed.build / "bin/bare-window"], env, FRAME),
        ready=lambda: to_the_word(program, env, "Super+Space"),
        frame=lambda: to_the_word(program, env, FRAME),
    )
    floor_is = "bare Qt Quick window, first frame"
    return [
        Row("start to the hotkey's readiness", medians["ready"], "ms", medians["floor"], floor_is),
        Row("start to the first frame", medians["frame"], "ms", medians["floor"], floor_is),
    ]


def measure(build: Path) -> list[Row]:
    with VirtualDesktop() as desktop:
        bed = Bed(build, desktop)
        rows = compare_windows(bed)
        # The clients' answer is a running instance's: as soon as it has one, it is done.
        bed.start()
        return compare_clients(bed) + rows

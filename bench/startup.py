#!/usr/bin/python3
"""How long short-lived processes take, and how soon a start is ready.

Runs on a virtual desktop: python3 bench/startup.py BUILD_DIR
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

ROUNDS = 100


def milliseconds(argv: list[str], env: dict[str, str]) -> float:
    begin = time.perf_counter()
    subprocess.call(argv, env=env, stderr=subprocess.DEVNULL)
    return (time.perf_counter() - begin) * 1000


def report(name: str, samples: list[float]) -> None:
    low, high = statistics.quantiles(samples, n=20)[0], statistics.quantiles(samples, n=20)[-1]
    print(f"{name:<34} {statistics.median(samples):7.2f} ms   (5% {low:.2f}, 95% {high:.2f})")


def compare_clients(build: Path, env: dict[str, str]) -> None:
    commands = {
        "bare QApplication": [str(build / "bin/bare-application")],
        "--toggle with no instance": [str(build / "bin/tarq-linux"), "--toggle"],
    }
    samples: dict[str, list[float]] = {name: [] for name in commands}
    for _ in range(ROUNDS):  # in turns, so that both meet the same moods of the machine
        for name, argv in commands.items():
            samples[name].append(milliseconds(argv, env))
    for name, times in samples.items():
        report(name, times)
    floor, toggle = (statistics.median(times) for times in samples.values())
    print(f"{'ratio':<34} {toggle / floor:7.2f}")


def first_turn(tarq: Tarq, env: dict[str, str]) -> float:
    """From exec to the first turn of the event loop, in which old recordings are swept."""
    stale = tarq.cache / "tarq-linux-stale.wav"
    stale.parent.mkdir(parents=True, exist_ok=True)
    stale.touch()
    os.utime(stale, (0, 0))
    begin = time.perf_counter()
    process = subprocess.Popen([str(tarq.program)], env=env, stderr=subprocess.DEVNULL)
    while stale.exists():
        time.sleep(0.0002)
    elapsed = (time.perf_counter() - begin) * 1000
    process.terminate()
    process.wait()
    return elapsed


def main() -> None:
    build = Path(sys.argv[1]).resolve()
    with VirtualDesktop() as desktop:
        backend = Backend(desktop)
        env = desktop.env | {
            "SUPABASE_URL": backend.url,
            "SUPABASE_ANON_KEY": "any",
            "WORKER_URL": backend.url,
        }
        compare_clients(build, env)
        tarq = Tarq(desktop, build / "bin/tarq-linux", backend)
        report("first loop turn, signed out", [first_turn(tarq, env) for _ in range(30)])
        tarq.sign_in()
        report("first loop turn, signed in", [first_turn(tarq, env) for _ in range(30)])


if __name__ == "__main__":
    main()

"""What needs no desktop: the peak meter and the history, by Google Benchmark."""

import json
import subprocess
from pathlib import Path

from bench.row import Row

FORMATS = ("UInt8", "Int16", "Int32", "Float")
COUNTS = (100, 10_000)
HISTORY = (
    ("load", "loadHistory", "parseAlone", "reading and parsing the file"),
    ("save", "saveHistory", "writeAlone", "writing the same bytes"),
    ("search", "searchHistory", "containsAlone", "looking for the needle, letters as they are"),
)


def measure(build: Path) -> list[Row]:
    options = ["--benchmark_format=json", "--benchmark_repetitions=5"]
    done = subprocess.run(
        [build / "bin/tarq-bench", *options], check=True, capture_output=True, text=True
    )
    times = {
        result["run_name"].split("/iterations")[0]: result["cpu_time"] / 1000
        for result in json.loads(done.stdout)["benchmarks"]
        if result.get("aggregate_name") == "median"
    }

    def row(what: str, name: str, floor: str, floor_is: str) -> Row:
        return Row(what, times[name], "us", times[floor], floor_is)

    rows = []
    for each in FORMATS:
        what = f"peak of a second of {each}"
        rows.append(row(what, f"peakLevel/{each}", f"plainLoop/{each}", "the plain loop"))
        rows.append(row(what, f"peakLevel/{each}", f"readMemory/{each}", "reading the memory"))
    for what, name, floor, floor_is in HISTORY:
        for count in COUNTS:
            rows.append(
                row(f"history {what}, {count} entries", f"{name}/{count}", f"{floor}/{count}", floor_is)
            )
    return rows

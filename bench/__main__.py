"""python3 -m bench BUILD_DIR [GROUP...]: measures, prints the table, writes it as JSON."""

import argparse
import json
import os
import platform
import sys
from pathlib import Path

from bench import arithmetic, dictation, idle, memory, startup
from harness.process import exit_on_sigterm

GROUPS = {
    "startup": startup.measure,
    "idle": idle.measure,
    "memory": memory.measure,
    "dictation": dictation.measure,
    "arithmetic": arithmetic.measure,
}


def main() -> None:
    parser = argparse.ArgumentParser(prog="bench", description=sys.modules["bench"].__doc__)
    parser.add_argument("build", type=Path, help="root of the build tree")
    parser.add_argument("groups", nargs="*", choices=[[], *GROUPS], help="default: all")
    options = parser.parse_args()
    exit_on_sigterm()
    build = options.build.resolve()

    rows = []
    for name in options.groups or GROUPS:
        for row in GROUPS[name](build):
            print(row, flush=True)
            rows.append(row)
    machine = {"processors": os.cpu_count(), "system": platform.platform()}
    table = {"machine": machine, "rows": [row.as_json() for row in rows]}
    (build / "table.json").write_text(json.dumps(table, indent=2) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main()

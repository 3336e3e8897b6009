"""What the tests of the packaging share."""

import os
import re
import subprocess
from pathlib import Path

from harness.session import OffscreenSession
from harness.testcase import program

PROJECT = Path(__file__).resolve().parents[2]
PACKAGING = PROJECT / "packaging"

# An option, wherever it stands in a text; "tarq-linux" and "(0.0-1.0)" aren't.
OPTION = re.compile(r"(?<![\w-])--?[a-z][a-z-]*")


PROGRAMS = "tarq-linux", "tarq-doctor"


def options_of(name: str) -> set[str]:
    """Those that the program's help text names, and the two that ask for it."""
    with OffscreenSession() as session:
        done = session.run([program(name), "--help"])
    return set(OPTION.findall(done.stdout + done.stderr)) | {"--help", "-h"}


def output(*command: object, **options) -> str:
    """What a command prints on both streams; it fails the test by its exit status."""
    done = subprocess.run(
        [str(word) for word in command],
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        check=False,
        env={**os.environ, "LC_ALL": "C.UTF-8"},
        **options,
    )
    assert done.returncode == 0, f"{command}: {done.returncode}\n{done.stdout}"
    return done.stdout

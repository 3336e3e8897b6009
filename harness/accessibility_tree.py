"""Prints what assistive technology sees on this session's bus, as JSON, for each line that it reads.

A program of its own, since the library connects once in a process and each desktop
has another bus.
"""

import json
import os
import signal
import sys

import pyatspi

# A program that hangs doesn't answer.
LIMIT_S = 30

# The names that newer versions of the library give, in the words of older ones.
RENAMED_ROLES = {"button": "push button"}


def describe(node, window: str | None) -> dict:
    try:
        extents = node.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
        box = [extents.x, extents.y, extents.width, extents.height]
    except NotImplementedError:
        box = None
    try:
        interface = node.queryText()
        text = interface.getText(0, interface.characterCount)
    except NotImplementedError:
        text = None
    states = node.getState().getStates()
    role = node.getRoleName()
    return {
        "window": window,
        "role": RENAMED_ROLES.get(role, role),
        "name": node.name,
        "text": text,
        "box": box,
        "states": [pyatspi.stateToString(state) for state in states],
    }


def collect(node, window: str | None, found: list[dict]) -> None:
    for child in node:
        if child is None:  # gone between the question and the answer
            continue
        top = child.name if window is None else window
        found.append(describe(child, top))
        collect(child, top, found)


def answer() -> None:
    found: list[dict] = []
    for application in pyatspi.Registry.getDesktop(0):
        if application is not None:
            collect(application, None, found)
    print(json.dumps(found), flush=True)


def main() -> None:
    for _question in sys.stdin:
        # A process for each answer, since the library keeps what it has seen once. Here it is loaded
        # and has seen nothing, which makes a start cheap.
        child = os.fork()
        if child == 0:
            signal.alarm(LIMIT_S)
            answer()
            os._exit(0)
        if os.waitpid(child, 0)[1] != 0:  # a window went while it was looked at
            print("[]", flush=True)


if __name__ == "__main__":
    main()

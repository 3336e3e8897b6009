"""The hands of somebody in front of KWin.

    kwin_input.py            a keyboard and a pointer that stay until the process ends
    kwin_input.py STEP...    x,y   down:BUTTON   up:BUTTON   key:CODE+CODE (all of evdev)
                             hold:SECONDS:CODE+CODE
"""

import sys
import time

from wayland_pointer import DISPLAY, FIRST_FREE, Connection

INPUT, FIRST_SYNC = FIRST_FREE, FIRST_FREE + 1
# Of org_kde_kwin_fake_input.
AUTHENTICATE, BUTTON, MOVE_TO, KEY = 0, 2, 9, 10

# A hand isn't faster, and a compositor may take two presses at once for one.
STEP_S = 0.05


def main() -> None:
    display = Connection()
    assert display.bind("org_kde_kwin_fake_input", 4, INPUT), "KWin takes no input from us"
    display.request(INPUT, AUTHENTICATE, "harness", "input of a test")
    for number, step in enumerate(sys.argv[1:]):
        perform(display, step)
        synced = FIRST_SYNC + number
        display.request(DISPLAY, 0, synced)
        while (event := display.event()) and event[0] != synced:
            pass
        time.sleep(STEP_S)
    if not sys.argv[1:]:
        print("plugged in", flush=True)
        while display.event():
            pass


def perform(display: Connection, step: str) -> None:
    word, _, value = step.partition(":")
    if word in ("down", "up"):
        display.request(INPUT, BUTTON, int(value), int(word == "down"))
    elif word == "key":
        press_keys(display, value)
    elif word == "hold":
        seconds, _, codes = value.partition(":")
        press_keys(display, codes, float(seconds))
    else:
        x, y = map(float, step.split(","))
        display.request(INPUT, MOVE_TO, x, y)


def press_keys(display: Connection, keys: str, seconds: float = 0) -> None:
    codes = [int(code) for code in keys.split("+")]
    for code in codes:
        display.request(INPUT, KEY, code, 1)
    time.sleep(seconds)
    for code in reversed(codes):
        display.request(INPUT, KEY, code, 0)


if __name__ == "__main__":
    main()

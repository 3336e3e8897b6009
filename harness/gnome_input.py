"""The hands of somebody in front of GNOME, through the interface of its compositor.

    gnome_input.py           a keyboard that stays until the process ends
    gnome_input.py STEP...   x,y   down:BUTTON   up:BUTTON   key:CODE (all of evdev)
"""

import sys
import time

from gi.repository import Gio, GLib

NAME = "org.gnome.Mutter.RemoteDesktop"
LEFT_SHIFT = 42
SCREEN = (1280, 800)

# A hand isn't faster, and the shell takes two presses at once for one.
STEP_S = 0.1

bus = Gio.bus_get_sync(Gio.BusType.SESSION)


def call(path: str, interface: str, method: str, arguments: GLib.Variant | None = None) -> tuple:
    reply = bus.call_sync(NAME, path, interface, method, arguments, None, 0, 5000, None)
    return reply.unpack()


class Hands:
    def __init__(self) -> None:
        (self._session,) = call(f"/{NAME.replace('.', '/')}", NAME, "CreateSession")
        self._do("Start")

    def perform(self, step: str) -> None:
        word, _, value = step.partition(":")
        if word in ("down", "up"):
            self._do("NotifyPointerButton", GLib.Variant("(ib)", (int(value), word == "down")))
        elif word == "key":
            for pressed in (True, False):
                self._do("NotifyKeyboardKeycode", GLib.Variant("(ub)", (int(value), pressed)))
        else:
            x, y = map(float, step.split(","))
            # Only relative moves are possible, so each starts in a corner: not in the upper left
            # one, which the shell guards.
            width, height = SCREEN
            for move in ((width, height), (x - width + 1, y - height + 1)):
                self._do("NotifyPointerMotionRelative", GLib.Variant("(dd)", move))
                time.sleep(STEP_S)
        time.sleep(STEP_S)

    def _do(self, method: str, arguments: GLib.Variant | None = None) -> None:
        call(self._session, f"{NAME}.Session", method, arguments)


def main() -> None:
    hands = Hands()
    for step in sys.argv[1:]:
        hands.perform(step)
    if not sys.argv[1:]:
        # The device comes with its first key.
        hands.perform(f"key:{LEFT_SHIFT}")
        print("plugged in", flush=True)
        GLib.MainLoop().run()


if __name__ == "__main__":
    main()

"""What no tool tells about a display, asked by a client of our own."""

import contextlib
import ctypes
from dataclasses import dataclass
from typing import Iterator

GRAB_ASYNC = 1
ALREADY_GRABBED = 1
CURRENT_TIME = 0
IS_VIEWABLE = 2
MOD4 = 64
SPACE = 0x20

int_, long, ulong, pointer = ctypes.c_int, ctypes.c_long, ctypes.c_ulong, ctypes.c_void_p


class Attributes(ctypes.Structure):
    """XWindowAttributes of Xlib.h."""

    _fields_ = [
        *((name, int_) for name in ("x", "y", "width", "height", "border_width", "depth")),
        ("visual", pointer),
        ("root", ulong),
        *((name, int_) for name in ("class", "bit_gravity", "win_gravity", "backing_store")),
        *((name, ulong) for name in ("backing_planes", "backing_pixel")),
        ("save_under", int_),
        ("colormap", ulong),
        *((name, int_) for name in ("map_installed", "map_state")),
        *((name, long) for name in ("all_events", "your_events", "do_not_propagate")),
        ("override_redirect", int_),
        ("screen", pointer),
    ]


@dataclass(frozen=True)
class Window:
    """A window as it is at one moment; the place is that on the screen."""

    x: int
    y: int
    width: int
    height: int
    shown: bool
    override_redirect: bool


@ctypes.CFUNCTYPE(int_, pointer, pointer)
def ignore_error(_display, _error) -> int:
    """In place of Xlib's own handler, which ends the process."""
    return 0


@contextlib.contextmanager
def client(display: str) -> Iterator[tuple[ctypes.CDLL, ctypes.c_void_p]]:
    x11 = ctypes.CDLL("libX11.so.6")
    x11.XSetErrorHandler(ignore_error)
    x11.XOpenDisplay.restype = pointer
    connection = pointer(x11.XOpenDisplay(display.encode()))
    try:
        yield x11, connection
    finally:
        x11.XCloseDisplay(connection)


def look_at(display: str, window: str) -> Window | None:
    """A window (its decimal id), None if it has gone.

    The window alone is asked for, unlike by xwininfo, which goes up to the window manager's
    frame and fails if that is taken away meanwhile.
    """
    with client(display) as (x11, connection):
        found, x, y, child = Attributes(), int_(), int_(), ulong()
        window_id = ulong(int(window))
        if not x11.XGetWindowAttributes(connection, window_id, ctypes.byref(found)):
            return None
        place = (ctypes.byref(x), ctypes.byref(y), ctypes.byref(child))
        if not x11.XTranslateCoordinates(
            connection, window_id, ulong(found.root), 0, 0, *place
        ):
            return None
        return Window(
            x.value,
            y.value,
            found.width,
            found.height,
            found.map_state == IS_VIEWABLE,
            bool(found.override_redirect),
        )


def has_tray(display: str) -> bool:
    """Whether a tray of the older kind is ready."""
    with client(display) as (x11, connection):
        selection = x11.XInternAtom(connection, b"_NET_SYSTEM_TRAY_S0", False)
        return x11.XGetSelectionOwner(connection, selection) != 0


def keyboard_is_grabbed(display: str) -> bool:
    """Whether a client has the keyboard to itself, as that of an open menu does."""
    with client(display) as (x11, connection):
        x11.XGrabServer(connection)  # nobody may meet the grab that this tries
        root = x11.XDefaultRootWindow(connection)
        status = x11.XGrabKeyboard(connection, root, 0, GRAB_ASYNC, GRAB_ASYNC, CURRENT_TIME)
        x11.XUngrabKeyboard(connection, CURRENT_TIME)
        x11.XUngrabServer(connection)
        return status == ALREADY_GRABBED


@contextlib.contextmanager
def super_and_space_grabbed(display: str) -> Iterator[None]:
    """The hotkey as another program's, which has it for as long as this lasts."""
    with client(display) as (x11, connection):
        root = ulong(x11.XDefaultRootWindow(connection))
        space = x11.XKeysymToKeycode(connection, ulong(SPACE))
        x11.XGrabKey(connection, space, MOD4, root, False, GRAB_ASYNC, GRAB_ASYNC)
        x11.XSync(connection, False)
        yield

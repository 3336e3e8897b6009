"""What no tool tells about a display, asked by a client of our own."""

import contextlib
import ctypes
from typing import Iterator

GRAB_ASYNC = 1
ALREADY_GRABBED = 1
CURRENT_TIME = 0


@contextlib.contextmanager
def client(display: str) -> Iterator[tuple[ctypes.CDLL, ctypes.c_void_p]]:
    x11 = ctypes.CDLL("libX11.so.6")
    x11.XOpenDisplay.restype = ctypes.c_void_p
    connection = ctypes.c_void_p(x11.XOpenDisplay(display.encode()))
    try:
        yield x11, connection
    finally:
        x11.XCloseDisplay(connection)


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

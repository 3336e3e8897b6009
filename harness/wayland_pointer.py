"""A pointer device for a Wayland compositor that has none.

Without one the seat has no pointer, and what the compositor clicks reaches no window. It
does nothing itself: `swaymsg seat - cursor` moves and clicks. It stays until its process
ends, and says so when it has been plugged in.
"""

import os
import socket
import struct
from pathlib import Path

MANAGER = "zwlr_virtual_pointer_manager_v1"
HEADER = struct.Struct("=IHH")  # object, opcode, length of the whole message

# Object ids: the display's is given, the others are ours to choose.
DISPLAY, REGISTRY, SYNCED, POINTER_MANAGER, POINTER = range(1, 6)


class Connection:
    def __init__(self) -> None:
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.connect(
            str(Path(os.environ["XDG_RUNTIME_DIR"], os.environ["WAYLAND_DISPLAY"]))
        )
        self._stream = self._socket.makefile("rb")

    def request(self, sender: int, opcode: int, *arguments: int | str) -> None:
        body = b"".join(encoded(argument) for argument in arguments)
        self._socket.sendall(HEADER.pack(sender, opcode, HEADER.size + len(body)) + body)

    def event(self) -> tuple[int, bytes] | None:
        """The sender and the arguments of the next event, None at the end."""
        header = self._stream.read(HEADER.size)
        if len(header) < HEADER.size:
            return None
        sender, _opcode, size = HEADER.unpack(header)
        return sender, self._stream.read(size - HEADER.size)


def encoded(argument: int | str) -> bytes:
    if isinstance(argument, int):
        return struct.pack("=I", argument)
    text = argument.encode() + b"\0"
    return struct.pack("=I", len(text)) + text + b"\0" * (-len(text) % 4)


def main() -> None:
    display = Connection()
    display.request(DISPLAY, 1, REGISTRY)  # get_registry
    display.request(DISPLAY, 0, SYNCED)  # sync: answered after all globals
    while (event := display.event()) and event[0] != SYNCED:
        sender, arguments = event
        if sender == REGISTRY and MANAGER.encode() in arguments:
            (name,) = struct.unpack_from("=I", arguments)
            display.request(REGISTRY, 0, name, MANAGER, 1, POINTER_MANAGER)  # bind
            display.request(POINTER_MANAGER, 0, 0, POINTER)  # create_virtual_pointer
            print("plugged in", flush=True)
    while display.event():
        pass


if __name__ == "__main__":
    main()

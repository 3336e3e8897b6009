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
FIRST_FREE = 4


class Connection:
    def __init__(self) -> None:
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.connect(
            str(Path(os.environ["XDG_RUNTIME_DIR"], os.environ["WAYLAND_DISPLAY"]))
        )
        self._stream = self._socket.makefile("rb")

    def request(self, sender: int, opcode: int, *arguments: int | float | str) -> None:
        body = b"".join(encoded(argument) for argument in arguments)
        self._socket.sendall(HEADER.pack(sender, opcode, HEADER.size + len(body)) + body)

    def event(self) -> tuple[int, bytes] | None:
        """The sender and the arguments of the next event, None at the end."""
        header = self._stream.read(HEADER.size)
        if len(header) < HEADER.size:
            return None
        sender, _opcode, size = HEADER.unpack(header)
        return sender, self._stream.read(size - HEADER.size)

    def bind(self, interface: str, version: int, new_object: int) -> bool:
        """Bind a global under an id of ours; False if the compositor has none."""
        bound = False
        self.request(DISPLAY, 1, REGISTRY)  # get_registry
        self.request(DISPLAY, 0, SYNCED)  # sync: answered after all globals
        while (event := self.event()) and event[0] != SYNCED:
            sender, arguments = event
            if sender == REGISTRY and interface.encode() + b"\0" in arguments:
                (name,) = struct.unpack_from("=I", arguments)
                self.request(REGISTRY, 0, name, interface, version, new_object)
                bound = True
        return bound


def encoded(argument: int | float | str) -> bytes:
    if isinstance(argument, int):
        return struct.pack("=I", argument)
    if isinstance(argument, float):  # a fixed-point number
        return struct.pack("=i", int(argument * 256))
    text = argument.encode() + b"\0"
    return struct.pack("=I", len(text)) + text + b"\0" * (-len(text) % 4)


def main() -> None:
    display = Connection()
    if display.bind(MANAGER, 1, POINTER_MANAGER):
        display.request(POINTER_MANAGER, 0, 0, POINTER)  # create_virtual_pointer
        print("plugged in", flush=True)
    while display.event():
        pass


if __name__ == "__main__":
    main()

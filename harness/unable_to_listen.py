"""Runs a program that can't listen on any internet address; its local sockets are unharmed.

unable_to_listen.py PROGRAM [ARGUMENT...]

The kernel refuses the calls, by a filter (seccomp) that the program inherits.
"""

import ctypes
import errno
import os
import platform
import struct
import sys

BIND = {"x86_64": 49, "aarch64": 200}[platform.machine()]
# A filter sees no addresses, only their lengths: these are of IPv4 and IPv6.
INTERNET_ADDRESS_LENGTHS = (16, 28)

# From linux/prctl.h, linux/seccomp.h and linux/bpf_common.h.
PR_SET_SECCOMP, PR_SET_NO_NEW_PRIVS, SECCOMP_MODE_FILTER = 22, 38, 2
LOAD_WORD, JUMP_IF_EQUAL, RETURN = 0x20, 0x15, 0x06
ALLOW, FAIL_WITH = 0x7FFF0000, 0x00050000
NUMBER_OF_CALL, THIRD_ARGUMENT = 0, 32  # where they lie in what the filter sees


def instruction(code: int, value: int, if_true: int = 0, if_false: int = 0) -> bytes:
    return struct.pack("HBBI", code, if_true, if_false, value)


FILTER = b"".join(
    [
        instruction(LOAD_WORD, NUMBER_OF_CALL),
        instruction(JUMP_IF_EQUAL, BIND, if_false=3),
        instruction(LOAD_WORD, THIRD_ARGUMENT),
        instruction(JUMP_IF_EQUAL, INTERNET_ADDRESS_LENGTHS[0], if_true=2),
        instruction(JUMP_IF_EQUAL, INTERNET_ADDRESS_LENGTHS[1], if_true=1),
        instruction(RETURN, ALLOW),
        instruction(RETURN, FAIL_WITH | errno.EADDRNOTAVAIL),
    ]
)


class Program(ctypes.Structure):
    _fields_ = [("length", ctypes.c_ushort), ("filter", ctypes.c_char_p)]


def main() -> None:
    libc = ctypes.CDLL(None, use_errno=True)
    program = Program(len(FILTER) // len(instruction(0, 0)), FILTER)
    if libc.prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 or (
        libc.prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, ctypes.byref(program), 0, 0) != 0
    ):
        sys.exit(f"no filter: {os.strerror(ctypes.get_errno())}")
    os.execvp(sys.argv[1], sys.argv[1:])


if __name__ == "__main__":
    main()

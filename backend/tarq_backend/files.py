"""Private files: readable by their owner only, and never seen half written."""

from __future__ import annotations

import os
import secrets
import tempfile
from pathlib import Path

_SECRET_BYTES = 32


def write_private(path: Path, content: bytes) -> None:
    """Replaces the file in one step, with mode 0600; makes its directory with 0700."""
    temporary = _write_temporary(path, content)
    try:
        os.replace(temporary, path)
    except OSError:
        os.unlink(temporary)
        raise


def load_secret(path: Path) -> bytes:
    """Returns the signing secret, made on first use; raises ValueError when it is damaged."""
    if not path.exists():
        temporary = _write_temporary(path, secrets.token_hex(_SECRET_BYTES).encode("ascii"))
        try:
            # Unlike a rename, a link loses against a process that made its secret first.
            os.link(temporary, path)
        except FileExistsError:
            pass
        finally:
            os.unlink(temporary)
    try:
        secret = bytes.fromhex(path.read_text(encoding="ascii"))
    except ValueError:
        secret = b""
    if len(secret) != _SECRET_BYTES:
        raise ValueError(f"{path} does not hold a signing secret")
    return secret


def _write_temporary(path: Path, content: bytes) -> str:
    path.parent.mkdir(mode=0o700, parents=True, exist_ok=True)
    handle, temporary = tempfile.mkstemp(dir=path.parent, prefix=f".{path.name}.")  # mode 0600
    with os.fdopen(handle, "wb") as file:
        file.write(content)
        file.flush()
        os.fsync(file.fileno())
    return temporary

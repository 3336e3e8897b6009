"""Passwords at rest."""

from __future__ import annotations

import hashlib
import hmac
import secrets

_SALT_BYTES = 16


def hashed(password: str) -> bytes:
    """Returns a new salt and the hash behind it."""
    salt = secrets.token_bytes(_SALT_BYTES)
    return salt + _scrypt(password, salt)


def matches(password: str, stored: bytes) -> bool:
    salt, expected = stored[:_SALT_BYTES], stored[_SALT_BYTES:]
    return hmac.compare_digest(_scrypt(password, salt), expected)


def _scrypt(password: str, salt: bytes) -> bytes:
    # JSON text may hold lone surrogates, which plain UTF-8 has no form for.
    return hashlib.scrypt(password.encode("utf-8", "surrogatepass"), salt=salt, n=1 << 14, r=8, p=1)

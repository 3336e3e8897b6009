"""Secrets that are handed out once and only kept as hashes."""

from __future__ import annotations

import hashlib
import secrets

_BYTES = 24


def make() -> str:
    return secrets.token_urlsafe(_BYTES)


def hashed(token: str) -> str:
    # Unsalted and fast will do: nobody can guess 24 random bytes.
    return hashlib.sha256(token.encode("utf-8", "surrogatepass")).hexdigest()

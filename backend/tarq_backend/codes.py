"""Authorisation codes with proof key (RFC 7636)."""

from __future__ import annotations

import base64
import hashlib
import re
import time

from . import tokens
from .database import Database
from .refusals import AuthError

_LIFETIME_S = 300
_CHALLENGE = re.compile(r"[A-Za-z0-9._~-]{43,128}")


class Codes:
    def __init__(self, database: Database) -> None:
        self._database = database

    def issue(self, account_id: str, challenge: str) -> str:
        code = tokens.make()
        with self._database.transaction() as db:
            insert = "INSERT INTO codes VALUES (?, ?, ?, ?)"
            values = (tokens.hashed(code), account_id, challenge, time.time() + _LIFETIME_S)
            db.execute(insert, values)
        return code

    def redeem(self, code: str, verifier: str) -> str:
        """Returns the id of the account. The first attempt uses the code up, good or not."""
        with self._database.transaction() as db:
            delete = "DELETE FROM codes WHERE hash = ? RETURNING *"
            row = db.execute(delete, (tokens.hashed(code),)).fetchone()
        if row is None:
            raise AuthError(404, "invalid flow state, no valid flow state found")
        if row["expires_at"] < time.time():
            raise AuthError(403, "invalid flow state, flow state has expired")
        if _challenge_of(verifier) != row["challenge"]:
            raise AuthError(400, "code challenge does not match previously saved code verifier")
        return row["account_id"]


def is_challenge(text: str) -> bool:
    return _CHALLENGE.fullmatch(text) is not None


def _challenge_of(verifier: str) -> str:
    digest = hashlib.sha256(verifier.encode("utf-8", "surrogatepass")).digest()
    return base64.urlsafe_b64encode(digest).rstrip(b"=").decode("ascii")

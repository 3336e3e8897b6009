"""Who is signed in: starts, refreshes and ends sessions, and recognises access tokens."""

from __future__ import annotations

import sqlite3
import time
import uuid
from dataclasses import dataclass
from typing import Any

from . import jwt, tokens
from .accounts import Account, Accounts, iso_time
from .database import Database
from .messages import ApiError, Request
from .refusals import GrantError

_AUDIENCE = "authenticated"


@dataclass(frozen=True)
class Session:
    """The tokens of a session, as they are handed to the client."""

    account: Account
    access_token: str
    refresh_token: str
    expires_in: int  # seconds
    expires_at: int  # seconds since the epoch


@dataclass(frozen=True)
class Bearer:
    """Whom an access token stands for."""

    account: Account
    session_id: str | None  # None for a token that another service has signed


class Sessions:
    def __init__(
        self, database: Database, accounts: Accounts, secret: bytes, lifetime_s: int
    ) -> None:
        self._database = database
        self._accounts = accounts
        self._secret = secret
        self._lifetime_s = lifetime_s  # negative for tokens that are born expired

    def start(self, account: Account) -> Session:
        session_id = str(uuid.uuid4())
        refresh_token = tokens.make()
        now = time.time()
        with self._database.transaction() as db:
            insert = "INSERT INTO sessions VALUES (?, ?, ?, ?)"
            db.execute(insert, (session_id, account.id, now, now))
            _keep(db, refresh_token, session_id)
        return self._session(account, session_id, refresh_token)

    def refresh(self, used_token: str) -> Session:
        """Every refresh token is good for one use.

        The second use of one means that two parties have it, and nobody knows which of
        them is the thief: the whole session goes.
        """
        refresh_token = tokens.make()
        select = (
            "SELECT used, session_id, accounts.* FROM refresh_tokens"
            " JOIN sessions ON sessions.id = session_id"
            " JOIN accounts ON accounts.id = account_id WHERE hash = ?"
        )
        with self._database.transaction() as db:
            row = db.execute(select, (tokens.hashed(used_token),)).fetchone()
            if row is not None:
                use_up = "UPDATE refresh_tokens SET used = 1 WHERE session_id = ?"
                db.execute(use_up, (row["session_id"],))
            if row is not None and not row["used"]:
                change = "UPDATE sessions SET refreshed_at = ? WHERE id = ?"
                db.execute(change, (time.time(), row["session_id"]))
                _keep(db, refresh_token, row["session_id"])
        if row is None:
            raise GrantError("Invalid Refresh Token: Refresh Token Not Found")
        if row["used"]:
            raise GrantError("Invalid Refresh Token: Already Used")
        return self._session(Account.from_row(row), row["session_id"], refresh_token)

    def end(self, session_id: str) -> None:
        """Its refresh tokens go at once, its access tokens when they expire."""
        with self._database.transaction() as db:
            db.execute("DELETE FROM sessions WHERE id = ?", (session_id,))

    def of(self, account_id: str) -> list[dict[str, Any]]:
        select = "SELECT * FROM sessions WHERE account_id = ? ORDER BY created_at"
        with self._database.transaction() as db:
            rows = db.execute(select, (account_id,)).fetchall()
        return [
            {
                "id": row["id"],
                "created_at": iso_time(row["created_at"]),
                "refreshed_at": iso_time(row["refreshed_at"]),
            }
            for row in rows
        ]

    def authenticate(self, request: Request) -> Bearer:
        """Recognises the bearer token (RFC 6750) of a living account; raises ApiError 401."""
        scheme, _, token = request.headers.get("Authorization", "").partition(" ")
        try:
            if scheme.lower() != "bearer":
                raise jwt.TokenError("The request has no bearer token.")
            claims = jwt.verify(token.strip(), self._secret, _AUDIENCE)
            account = self._accounts.get(str(claims.get("sub")))
            if account is None:
                raise jwt.TokenError("The token's account does not exist.")
            return Bearer(account, claims.get("session_id"))
        except jwt.TokenError as error:
            raise ApiError(401, str(error), {"WWW-Authenticate": "Bearer"}) from None

    def _session(self, account: Account, session_id: str, refresh_token: str) -> Session:
        now = int(time.time())
        expires_at = now + self._lifetime_s
        claims = {
            "sub": account.id,
            "email": account.email,
            "iat": now,
            "exp": expires_at,
            "role": "authenticated",
            "aud": _AUDIENCE,
            "session_id": session_id,
            # Without it, a token that is refreshed within a second would be the old one.
            "jti": str(uuid.uuid4()),
        }
        access_token = jwt.issue(claims, self._secret)
        return Session(account, access_token, refresh_token, self._lifetime_s, expires_at)


def _keep(db: sqlite3.Connection, refresh_token: str, session_id: str) -> None:
    insert = "INSERT INTO refresh_tokens (hash, session_id) VALUES (?, ?)"
    db.execute(insert, (tokens.hashed(refresh_token), session_id))

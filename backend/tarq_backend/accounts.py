"""Who has an account: sign-up, sign-in, and the mails that a real service would send."""

from __future__ import annotations

import re
import sqlite3
import time
import uuid
from dataclasses import dataclass
from datetime import UTC, datetime
from typing import Any

from . import passwords
from .database import Database
from .refusals import AuthError, GrantError

# As the HTML standard has it for input fields of the type email.
_EMAIL = re.compile(
    r"[a-z0-9.!#$%&'*+/=?^_`{|}~-]+@[a-z0-9](?:[a-z0-9-]{0,61}[a-z0-9])?"
    r"(?:\.[a-z0-9](?:[a-z0-9-]{0,61}[a-z0-9])?)*"
)
_MAX_EMAIL_LENGTH = 255
_MIN_PASSWORD_LENGTH = 6
_MAX_PASSWORD_BYTES = 72
_MAIL_INTERVAL_S = 60


@dataclass(frozen=True)
class Account:
    id: str
    email: str
    provider: str  # email, google or github
    created_at: float
    confirmed_at: float | None

    @staticmethod
    def from_row(row: sqlite3.Row) -> Account:
        return Account(
            id=row["id"],
            email=row["email"],
            provider=row["provider"],
            created_at=row["created_at"],
            confirmed_at=row["confirmed_at"],
        )

    def user(self) -> dict[str, Any]:
        """The account as the auth service describes it."""
        return {
            "id": self.id,
            "aud": "authenticated",
            "role": "authenticated",
            "email": self.email,
            "email_confirmed_at": iso_time(self.confirmed_at),
            "created_at": iso_time(self.created_at),
            "app_metadata": {"provider": self.provider, "providers": [self.provider]},
            "user_metadata": {},
        }


class Accounts:
    def __init__(self, database: Database, confirm_email: bool) -> None:
        self._database = database
        self._confirm_email = confirm_email

    def sign_up(self, email: str, password: str) -> Account:
        """Returns the new account, which is unconfirmed where addresses have to be confirmed."""
        email = valid_email(email)
        _check_strength(password)
        stored = passwords.hashed(password)
        with self._database.transaction() as db:
            row = _find(db, email)
            if row is None:
                confirmed_at = None if self._confirm_email else time.time()
                row = _insert(db, email, "email", confirmed_at, stored)
            elif not self._confirm_email:
                raise AuthError(422, "User already registered")
            elif row["confirmed_at"] is not None:
                # Who can't read the mail must not learn whose addresses are registered.
                return Account(str(uuid.uuid4()), email, "email", time.time(), None)
            if self._confirm_email:
                _send_mail(db, row, "confirmation_sent_at")
        return Account.from_row(row)

    def sign_in(self, email: str, password: str) -> Account:
        with self._database.transaction() as db:
            row = _find(db, email.lower())
        stored = row["password"] if row else None
        if stored is None or not passwords.matches(password, stored):
            raise GrantError("Invalid login credentials")
        if row["confirmed_at"] is None:
            raise GrantError("Email not confirmed")
        return Account.from_row(row)

    def vouched_for(self, email: str, provider: str) -> Account:
        """The account of somebody whose address is proven, made on first use.

        The password of an unconfirmed account goes: a stranger may have set it in advance.
        """
        email = valid_email(email)
        with self._database.transaction() as db:
            row = _find(db, email)
            if row is None:
                row = _insert(db, email, provider, time.time(), None)
            elif row["confirmed_at"] is None:
                change = "UPDATE accounts SET confirmed_at = ?, password = NULL WHERE id = ?"
                db.execute(change, (time.time(), row["id"]))
                row = _find(db, email)
        return Account.from_row(row)

    def send_recovery(self, email: str) -> None:
        email = valid_email(email)
        with self._database.transaction() as db:
            row = _find(db, email)
            # An unknown address is no error, or strangers could ask who is registered.
            if row is not None:
                _send_mail(db, row, "recovery_sent_at")

    def confirm(self, email: str) -> bool:
        """What the link in the mail does; False for an unknown address."""
        change = "UPDATE accounts SET confirmed_at = coalesce(confirmed_at, ?) WHERE email = ?"
        with self._database.transaction() as db:
            return db.execute(change, (time.time(), email.lower())).rowcount == 1

    def get(self, account_id: str) -> Account | None:
        with self._database.transaction() as db:
            row = db.execute("SELECT * FROM accounts WHERE id = ?", (account_id,)).fetchone()
        return Account.from_row(row) if row else None

    def all(self) -> list[Account]:
        with self._database.transaction() as db:
            rows = db.execute("SELECT * FROM accounts ORDER BY created_at").fetchall()
        return [Account.from_row(row) for row in rows]

    def remove(self, account_id: str) -> None:
        """Takes its sessions and all that is known about it along."""
        with self._database.transaction() as db:
            db.execute("DELETE FROM accounts WHERE id = ?", (account_id,))


def valid_email(text: str) -> str:
    """The address in the one spelling that accounts have; raises AuthError."""
    email = text.lower()
    if len(email) > _MAX_EMAIL_LENGTH or not _EMAIL.fullmatch(email):
        raise AuthError(422, "Unable to validate email address: invalid format")
    return email


def iso_time(seconds: float | None) -> str | None:
    if seconds is None:
        return None
    return datetime.fromtimestamp(seconds, UTC).isoformat().replace("+00:00", "Z")


def _check_strength(password: str) -> None:
    if not password:
        raise AuthError(422, "Signup requires a valid password")
    if len(password) < _MIN_PASSWORD_LENGTH:
        raise AuthError(422, f"Password should be at least {_MIN_PASSWORD_LENGTH} characters.")
    if len(password.encode("utf-8", "surrogatepass")) > _MAX_PASSWORD_BYTES:
        raise AuthError(422, f"Password cannot be longer than {_MAX_PASSWORD_BYTES} characters")


def _find(db: sqlite3.Connection, email: str) -> sqlite3.Row | None:
    return db.execute("SELECT * FROM accounts WHERE email = ?", (email,)).fetchone()


def _insert(
    db: sqlite3.Connection,
    email: str,
    provider: str,
    confirmed_at: float | None,
    password: bytes | None,
) -> sqlite3.Row:
    insert = (
        "INSERT INTO accounts (id, email, provider, created_at, confirmed_at, password)"
        " VALUES (?, ?, ?, ?, ?, ?) RETURNING *"
    )
    values = (str(uuid.uuid4()), email, provider, time.time(), confirmed_at, password)
    return db.execute(insert, values).fetchone()


def _send_mail(db: sqlite3.Connection, row: sqlite3.Row, column: str) -> None:
    """Sends nothing, but no more often than a service that does."""
    now = time.time()
    wait_s = _MAIL_INTERVAL_S - (now - row[column]) if row[column] else 0
    if wait_s > 0:
        seconds = max(1, round(wait_s))
        message = f"For security purposes, you can only request this after {seconds} seconds."
        raise AuthError(429, message)
    db.execute(f"UPDATE accounts SET {column} = ? WHERE id = ?", (now, row["id"]))

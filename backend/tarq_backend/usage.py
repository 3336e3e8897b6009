"""What an account has sent to be transcribed: when, and how much; never what."""

from __future__ import annotations

import time
from typing import Any

from .accounts import iso_time
from .database import Database


class Usage:
    def __init__(self, database: Database) -> None:
        self._database = database

    def note(self, account_id: str, size: int) -> None:
        # Selected, as the account may have been removed while the recording arrived.
        insert = "INSERT INTO transcriptions SELECT id, ?, ? FROM accounts WHERE id = ?"
        with self._database.transaction() as db:
            db.execute(insert, (time.time(), size, account_id))

    def of(self, account_id: str) -> list[dict[str, Any]]:
        select = "SELECT * FROM transcriptions WHERE account_id = ? ORDER BY received_at"
        with self._database.transaction() as db:
            rows = db.execute(select, (account_id,)).fetchall()
        return [
            {"received_at": iso_time(row["received_at"]), "bytes": row["bytes"]} for row in rows
        ]

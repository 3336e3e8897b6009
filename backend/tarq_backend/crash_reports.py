"""POST /v1/crash-report: keeps whatever arrives, as crashes don't write careful JSON."""

from __future__ import annotations

import time

from .database import Database
from .messages import Request, Response


class CrashReports:
    def __init__(self, database: Database) -> None:
        self._database = database

    def post(self, request: Request) -> Response:
        with self._database.transaction() as db:
            insert = "INSERT INTO crash_reports VALUES (?, ?)"
            db.execute(insert, (time.time(), request.body))
        return Response(204)

    def all(self) -> list[bytes]:
        """Oldest first."""
        with self._database.transaction() as db:
            rows = db.execute("SELECT body FROM crash_reports ORDER BY rowid").fetchall()
        return [row["body"] for row in rows]

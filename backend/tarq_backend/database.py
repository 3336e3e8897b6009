"""The state that outlives the process: one SQLite file, readable by its owner only."""

from __future__ import annotations

import os
import sqlite3
import threading
from collections.abc import Iterator
from contextlib import contextmanager
from pathlib import Path

# Passwords, refresh tokens and authorisation codes stand here as hashes only. Times are
# seconds since the epoch.
_SCHEMA = """
CREATE TABLE IF NOT EXISTS accounts (
    id TEXT PRIMARY KEY,
    email TEXT NOT NULL UNIQUE,
    password BLOB,  -- null for an account without one
    provider TEXT NOT NULL,
    created_at REAL NOT NULL,
    confirmed_at REAL,  -- null until the e-mail address is confirmed
    confirmation_sent_at REAL,
    recovery_sent_at REAL
);
CREATE TABLE IF NOT EXISTS sessions (
    id TEXT PRIMARY KEY,
    account_id TEXT NOT NULL REFERENCES accounts ON DELETE CASCADE,
    created_at REAL NOT NULL,
    refreshed_at REAL NOT NULL
);
CREATE TABLE IF NOT EXISTS refresh_tokens (
    hash TEXT PRIMARY KEY,
    session_id TEXT NOT NULL REFERENCES sessions ON DELETE CASCADE,
    used INTEGER NOT NULL DEFAULT 0
);
CREATE TABLE IF NOT EXISTS codes (
    hash TEXT PRIMARY KEY,
    account_id TEXT NOT NULL REFERENCES accounts ON DELETE CASCADE,
    challenge TEXT NOT NULL,
    expires_at REAL NOT NULL
);
CREATE TABLE IF NOT EXISTS transcriptions (
    account_id TEXT NOT NULL REFERENCES accounts ON DELETE CASCADE,
    received_at REAL NOT NULL,
    bytes INTEGER NOT NULL
);
CREATE TABLE IF NOT EXISTS crash_reports (
    received_at REAL NOT NULL,
    body BLOB NOT NULL
);
"""
# Another process may issue a session meanwhile.
_BUSY_TIMEOUT_S = 30


class Database:
    """One connection, which the threads use in turn."""

    def __init__(self, path: Path) -> None:
        # SQLite would make the file with the mode that the umask leaves.
        os.close(os.open(path, os.O_RDWR | os.O_CREAT | os.O_CLOEXEC, 0o600))
        self._lock = threading.Lock()
        self._connection = sqlite3.connect(
            path, timeout=_BUSY_TIMEOUT_S, isolation_level=None, check_same_thread=False
        )
        self._connection.row_factory = sqlite3.Row
        self._connection.execute("PRAGMA foreign_keys = ON")
        self._connection.executescript(f"BEGIN IMMEDIATE; {_SCHEMA} COMMIT;")

    @contextmanager
    def transaction(self) -> Iterator[sqlite3.Connection]:
        """An exception undoes all of it."""
        with self._lock:
            self._connection.execute("BEGIN IMMEDIATE")
            try:
                yield self._connection
            except BaseException:
                self._connection.execute("ROLLBACK")
                raise
            self._connection.execute("COMMIT")

"""Remembers requests, so that a test can ask what the client really sent."""

from __future__ import annotations

import base64
import hashlib
import threading
import time
from dataclasses import asdict, dataclass
from typing import Any

from . import multipart
from .messages import Request


@dataclass
class Entry:
    """One request. Times are milliseconds of the system's monotonic clock."""

    method: str
    path: str  # query included
    headers: dict[str, str]
    parts: list[dict[str, Any]]
    body_size: int
    body_base64: str | None  # None for a form, whose parts are described instead
    received_at: float
    answered_at: float | None = None  # None while in flight
    status: int | None = None  # None while in flight, and for a dropped connection


class Journal:
    def __init__(self) -> None:
        self._entries: list[Entry] = []
        self._changed = threading.Condition()
        self._stopped = False

    def add(self, entry: Entry) -> None:
        with self._changed:
            self._entries.append(entry)
            self._changed.notify_all()

    def finish(self, entry: Entry, status: int | None) -> None:
        with self._changed:
            entry.status = status
            entry.answered_at = _now_ms()
            self._changed.notify_all()

    def clear(self) -> None:
        with self._changed:
            self._entries.clear()

    def wait(
        self, path: str | None, count: int, answered: bool, timeout_s: float
    ) -> list[dict[str, Any]]:
        """Returns all entries (of a path) once `count` are there, or when the time is over."""

        def of_path() -> list[Entry]:
            return [e for e in self._entries if path in (None, e.path, e.path.partition("?")[0])]

        def enough() -> bool:
            there = [entry for entry in of_path() if entry.answered_at or not answered]
            return self._stopped or len(there) >= count

        with self._changed:
            self._changed.wait_for(enough, timeout_s)
            return [asdict(entry) for entry in of_path()]

    def stop(self) -> None:
        """Lets everyone go who still waits."""
        with self._changed:
            self._stopped = True
            self._changed.notify_all()


def entry_for(request: Request) -> Entry:
    headers: dict[str, str] = {}
    for name, value in request.headers.items():
        # Field names are case-insensitive; one spelling spares every test the folding.
        name = "-".join(word.capitalize() for word in name.split("-"))
        headers[name] = f"{headers[name]}, {value}" if name in headers else value
    parts = _parts(request)
    return Entry(
        method=request.method,
        path=request.target,
        headers=headers,
        parts=parts,
        body_size=len(request.body),
        body_base64=None if parts else base64.b64encode(request.body).decode("ascii"),
        received_at=_now_ms(),
    )


def _parts(request: Request) -> list[dict[str, Any]]:
    try:
        parts = multipart.parse(request.headers.get("Content-Type", ""), request.body)
    except multipart.MultipartError:
        return []
    return [_describe(part) for part in parts]


def _describe(part: multipart.Part) -> dict[str, Any]:
    described: dict[str, Any] = {
        "name": part.name,
        "filename": part.filename,
        "content_type": part.content_type,
        "size": len(part.content),
        "sha256": hashlib.sha256(part.content).hexdigest(),
    }
    if part.filename is None:
        described["text"] = part.content.decode("utf-8", "replace")
    return described


def _now_ms() -> float:
    return round(time.monotonic() * 1000, 3)

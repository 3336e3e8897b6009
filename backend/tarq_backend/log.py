"""The log on stderr. Nothing a request or a recogniser carries may end up in it."""

from __future__ import annotations

import logging
import traceback

_PATH_LIMIT = 200

log = logging.getLogger("tarq-backend")


def set_up() -> None:
    logging.basicConfig(level=logging.INFO, format="%(name)s: %(message)s")


def log_request(method: str, path: str, status: int | str, duration_ms: float) -> None:
    log.info("%s %s %s %.0f ms", method, _printable(path), status, duration_ms)


def log_failure(error: BaseException) -> None:
    # The text of an exception can quote what it choked on, so only its type and place are told.
    places = "".join(traceback.format_tb(error.__traceback__))
    log.error("unexpected %s at\n%s", type(error).__name__, places.rstrip())


def _printable(path: str) -> str:
    # Control characters could forge a log line or drive a terminal.
    return path[:_PATH_LIMIT].encode("unicode_escape").decode("ascii")

"""GET /v1/version: the newest release."""

from __future__ import annotations

import re
from pathlib import Path

from .messages import Request, Response, json_response

_PROJECT = Path(__file__).resolve().parents[2] / "CMakeLists.txt"


class Release:
    def __init__(self, version: str, download_url: str) -> None:
        self._linux = {"version": version, "download_url": download_url}

    def get(self, _request: Request) -> Response:
        return json_response(200, {"latest": {"linux": self._linux}})


def project_version() -> str:
    """The version of the source tree; raises OSError or ValueError where there is none."""
    found = re.search(r"^project\([^)]*?\bVERSION\s+([0-9.]+)", _PROJECT.read_text("utf-8"), re.M)
    if found is None:
        raise ValueError(f"{_PROJECT} has no version")
    return found[1]

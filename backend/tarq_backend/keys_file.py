"""The file in which the client keeps its session."""

from __future__ import annotations

import json
from pathlib import Path
from typing import Any

from .files import write_private
from .sessions import Session


def write_session(path: Path, session: Session) -> None:
    """Writes the session into the JSON object in the file, beside what else it holds.

    Raises ValueError when the file holds something else, which is then left alone.
    """
    content: Any = {}
    if path.exists():
        try:
            content = json.loads(path.read_bytes())
        except ValueError:
            raise ValueError(f"{path} is not valid JSON") from None
    if not isinstance(content, dict):
        raise ValueError(f"{path} does not hold a JSON object")
    content |= {
        "accessToken": session.access_token,
        "refreshToken": session.refresh_token,
        "expiresAt": session.expires_at * 1000,  # milliseconds
        "userId": session.account.id,
        "userEmail": session.account.email,
    }
    text = json.dumps(content, indent=2, ensure_ascii=False)
    write_private(path, text.encode("utf-8") + b"\n")

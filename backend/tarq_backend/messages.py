"""What the wire and the endpoints exchange: requests, responses and refusals."""

from __future__ import annotations

import json
from collections.abc import Mapping
from dataclasses import dataclass, field
from email.message import Message
from typing import Any
from urllib.parse import parse_qsl


@dataclass(frozen=True)
class Response:
    status: int
    body: bytes = b""
    headers: Mapping[str, str] = field(default_factory=dict)


class ApiError(Exception):
    """A refusal that the caller may read; it becomes the JSON error answer."""

    def __init__(
        self, status: int, message: str, headers: Mapping[str, str] | None = None
    ) -> None:
        super().__init__(message)
        self.status = status
        self.message = message
        self.headers = dict(headers or {})

    def response(self) -> Response:
        return json_response(self.status, self.body(), self.headers)

    def body(self) -> dict[str, Any]:
        return {"error": {"message": self.message}}


@dataclass(frozen=True)
class Request:
    method: str
    target: str  # as sent, query included
    headers: Message
    body: bytes = b""
    # Set when the body was refused unread; no endpoint may see such a request.
    fault: ApiError | None = None

    @property
    def path(self) -> str:
        return self.target.partition("?")[0]

    @property
    def query(self) -> dict[str, str]:
        return dict(parse_qsl(self.target.partition("?")[2], keep_blank_values=True))

    def json(self) -> Any:
        return parse_json(self.body)


def parse_json(text: bytes | str) -> Any:
    """Raises ApiError 400 for anything that is not JSON."""
    try:
        return json.loads(text)
    except (ValueError, RecursionError):
        raise ApiError(400, "The body is not valid JSON.") from None


def dump_json(value: Any) -> bytes:
    # A lone surrogate is legal in JSON text but has no UTF-8 form.
    return json.dumps(value, ensure_ascii=False).encode("utf-8", "replace")


def json_response(status: int, value: Any, headers: Mapping[str, str] | None = None) -> Response:
    all_headers = {"Content-Type": "application/json", **(headers or {})}
    return Response(status, dump_json(value), all_headers)

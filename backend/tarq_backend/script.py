"""Replies that a test writes in advance."""

from __future__ import annotations

import base64
import re
from dataclasses import dataclass
from typing import Any

from .messages import ApiError, Request, Response, dump_json

_FIELD_NAME = re.compile(r"[!#$%&'*+.^_`|~0-9A-Za-z-]+")
_FIELD_VALUE = re.compile(r"[\t\x20-\x7e\x80-\xff]*")
_KEYS = {
    "method",
    "path",
    "status",
    "body",
    "body_base64",
    "headers",
    "delay_ms",
    "drop",
    "recognise",
}


@dataclass(frozen=True)
class ScriptedReply:
    method: str | None  # None answers every method
    path: str | None  # with or without a query; None answers every path
    response: Response
    delay_s: float
    drop: bool  # close the connection without an answer
    recognise: bool  # go on as if there were no script

    def fits(self, request: Request) -> bool:
        paths = (None, request.path, request.target)
        return self.method in (None, request.method) and self.path in paths


def parse_replies(value: Any) -> list[ScriptedReply]:
    """Raises ApiError 400 for anything that a reply cannot be, typing mistakes included."""
    if not isinstance(value, list):
        raise ApiError(400, "The replies are not an array.")
    return [_reply(each) for each in value]


def _reply(value: Any) -> ScriptedReply:
    if not isinstance(value, dict) or not value.keys() <= _KEYS:
        raise ApiError(400, f"A reply is an object with keys out of {', '.join(sorted(_KEYS))}.")
    status = value.get("status", 200)
    if type(status) is not int or not 200 <= status <= 599:
        raise ApiError(400, "The status of a reply is a number from 200 to 599.")
    delay_ms = value.get("delay_ms", 0)
    if type(delay_ms) not in (int, float) or not 0 <= delay_ms <= 600_000:
        raise ApiError(400, "The delay_ms of a reply is a number from 0 to 600000.")
    drop, recognise = value.get("drop", False), value.get("recognise", False)
    if type(drop) is not bool or type(recognise) is not bool:
        raise ApiError(400, "The drop and the recognise of a reply are true or false.")
    method, path = value.get("method"), value.get("path")
    if not all(each is None or isinstance(each, str) for each in (method, path)):
        raise ApiError(400, "The method and the path of a reply are text.")
    response = Response(status, _body(value), _headers(value.get("headers", {})))
    return ScriptedReply(method, path, response, delay_ms / 1000, drop, recognise)


def _body(value: dict[str, Any]) -> bytes:
    if "body_base64" in value:
        try:
            return base64.b64decode(value["body_base64"], validate=True)
        except (ValueError, TypeError):
            raise ApiError(400, "The body_base64 of a reply is not base64.") from None
    body = value.get("body", "")
    return body.encode("utf-8", "replace") if isinstance(body, str) else dump_json(body)


def _headers(value: Any) -> dict[str, str]:
    if not isinstance(value, dict):
        raise ApiError(400, "The headers of a reply are an object.")
    for name, text in value.items():
        # A line break in here would split the answer in two.
        legal = isinstance(text, str) and _FIELD_VALUE.fullmatch(text)
        if not (legal and _FIELD_NAME.fullmatch(name)):
            raise ApiError(400, "A header of a reply is not a legal one.")
    has_type = any(name.lower() == "content-type" for name in value)
    return value if has_type else {"Content-Type": "application/json", **value}

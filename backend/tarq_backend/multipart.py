"""A strict, binary-safe parser for multipart/form-data (RFC 7578, RFC 2046)."""

from __future__ import annotations

import re
from dataclasses import dataclass

_MAX_PARTS = 32
_MAX_PART_HEADER_BYTES = 8192

_TOKEN = r"[!#$%&'*+.^_`|~0-9A-Za-z-]+"
_MEDIA = re.compile(rf"\s*({_TOKEN}(?:/{_TOKEN})?)\s*")
_PARAMETER = re.compile(rf';\s*({_TOKEN})=(?:"((?:[^"\\]|\\.)*)"|({_TOKEN}))\s*')
_HEADER = re.compile(rf"({_TOKEN}):[ \t]*([^\x00-\x08\x0a-\x1f\x7f]*)")
_BOUNDARY = re.compile(r"[0-9A-Za-z'()+_,./:=? -]{0,69}[0-9A-Za-z'()+_,./:=?-]")


class MultipartError(ValueError):
    """The body is not a well-formed form; the text says why."""


@dataclass(frozen=True)
class Part:
    name: str
    filename: str | None
    content_type: str | None
    content: bytes


def parse(content_type: str, body: bytes) -> list[Part]:
    """Returns the parts in the order they were sent; raises MultipartError."""
    dash_boundary = rb"--" + re.escape(_boundary(content_type).encode("ascii"))
    # A line that only begins like the boundary is data, so the whole line has to match.
    line_end = rb"(?:(?P<close>--)[ \t]*(?:\r\n|\Z)|[ \t]*\r\n)"
    delimiter = re.compile(rb"\r\n" + dash_boundary + line_end)
    found = re.compile(dash_boundary + line_end).match(body) or delimiter.search(body)
    if found is None:
        raise MultipartError("The boundary does not occur in the form.")
    parts: list[Part] = []
    while not found["close"]:
        start = found.end()
        found = delimiter.search(body, start)
        if found is None:
            raise MultipartError("The form is not closed by its boundary.")
        if len(parts) == _MAX_PARTS:
            raise MultipartError("The form has too many parts.")
        parts.append(_part(body[start : found.start()]))
    if not parts:
        raise MultipartError("The form has no parts.")
    return parts


def _boundary(content_type: str) -> str:
    media, parameters = _parameters(content_type)
    if media != "multipart/form-data":
        raise MultipartError("The body is not multipart/form-data.")
    boundary = parameters.get("boundary", "")
    if not _BOUNDARY.fullmatch(boundary):
        raise MultipartError("The Content-Type has no usable boundary.")
    return boundary


def _part(data: bytes) -> Part:
    head, blank_line, content = data.partition(b"\r\n\r\n")
    if not blank_line:
        raise MultipartError("A part has no blank line after its headers.")
    headers = _headers(head)
    disposition, parameters = _parameters(headers.get("content-disposition", ""))
    if disposition != "form-data" or not parameters.get("name"):
        raise MultipartError("A part has no form-data disposition with a name.")
    return Part(
        name=parameters["name"],
        filename=parameters.get("filename"),
        content_type=headers.get("content-type"),
        content=content,
    )


def _headers(head: bytes) -> dict[str, str]:
    if len(head) > _MAX_PART_HEADER_BYTES:
        raise MultipartError("The headers of a part are too long.")
    try:
        lines = head.decode("utf-8").split("\r\n")
    except UnicodeDecodeError:
        raise MultipartError("The headers of a part are not UTF-8.") from None
    headers: dict[str, str] = {}
    for line in lines:
        found = _HEADER.fullmatch(line)
        if found is None or found[1].lower() in headers:
            raise MultipartError("A part has a malformed or repeated header.")
        headers[found[1].lower()] = found[2].strip()
    return headers


def _parameters(value: str) -> tuple[str, dict[str, str]]:
    """Splits `main; name=value; name="value"`; names and the main value in lower case."""
    main = _MEDIA.match(value)
    position = main.end() if main else 0
    parameters: dict[str, str] = {}
    while position < len(value):
        found = _PARAMETER.match(value, position)
        if found is None or found[1].lower() in parameters:
            raise MultipartError("A header has malformed or repeated parameters.")
        name, quoted, token = found.groups()
        parameters[name.lower()] = token if quoted is None else re.sub(r"\\(.)", r"\1", quoted)
        position = found.end()
    return (main[1].lower() if main else ""), parameters

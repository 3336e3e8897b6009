"""Recognition by another service that speaks the same protocol."""

from __future__ import annotations

import json
import urllib.error
import urllib.request
import uuid
from typing import Any

from .messages import ApiError
from .transcription import PATH, Recording

_TIMEOUT_S = 120
_MAX_ANSWER_BYTES = 1 << 20


class _NoRedirect(urllib.request.HTTPRedirectHandler):
    """A redirect would carry the key to a server that nobody chose."""

    def redirect_request(self, *_: Any) -> None:
        return None


class Relay:
    """Forwards recordings to `url`, with `key` as the bearer token where there is one.

    Messages never quote the upstream's answer, which may repeat the key.
    """

    def __init__(self, url: str, key: str | None) -> None:
        if not url.startswith(("http://", "https://")):
            raise ValueError("the relay is not an http or https URL")
        if key is not None and not (key.isascii() and key.isprintable()):
            raise ValueError("the relay key holds characters that no header may have")
        self._url = url.rstrip("/") + PATH
        self._key = key
        self._opener = urllib.request.build_opener(_NoRedirect)

    def transcribe(self, recording: Recording) -> str:
        boundary = uuid.uuid4().hex
        headers = {"Content-Type": f"multipart/form-data; boundary={boundary}"}
        if self._key:
            headers["Authorization"] = f"Bearer {self._key}"
        request = urllib.request.Request(self._url, _form(recording, boundary), headers)
        try:
            with self._opener.open(request, timeout=_TIMEOUT_S) as answer:
                body = answer.read(_MAX_ANSWER_BYTES)
                if answer.length:
                    raise ValueError("cut short, or too long")
                text = json.loads(body)["text"]
        except urllib.error.HTTPError as error:
            error.close()
            if error.code == 429:
                raise ApiError(429, "The relay takes no more requests for now.") from None
            raise ApiError(502, f"The relay answered with status {error.code}.") from None
        except (ValueError, TypeError, KeyError, RecursionError):
            raise ApiError(502, "The relay did not answer with a transcript.") from None
        except Exception:  # urllib lets a whole family of errors through
            raise ApiError(502, "The relay cannot be reached.") from None
        if not isinstance(text, str):
            raise ApiError(502, "The relay did not answer with a transcript.")
        return text

    def stop(self) -> None:
        """A request under way holds nothing that has to be tidied up."""


def _form(recording: Recording, boundary: str) -> bytes:
    fields = {"model": recording.model, "response_format": "json", "language": recording.language}
    form = b""
    for name, value in fields.items():
        if value is not None:
            disposition = f'form-data; name="{name}"'
            form += _part(boundary, f"Content-Disposition: {disposition}", value.encode("utf-8"))
    filename = (recording.file.filename or "").replace("\\", "\\\\").replace('"', '\\"')
    head = f'Content-Disposition: form-data; name="file"; filename="{filename}"'
    head += f"\r\nContent-Type: {recording.file.content_type or 'audio/wav'}"
    form += _part(boundary, head, recording.file.content)
    return form + f"--{boundary}--\r\n".encode("ascii")


def _part(boundary: str, head: str, content: bytes) -> bytes:
    return f"--{boundary}\r\n{head}\r\n\r\n".encode("utf-8") + content + b"\r\n"

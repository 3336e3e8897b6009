"""POST /v1/audio/transcriptions: a recording goes in, its text comes out."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Protocol

from . import multipart, wav
from .messages import ApiError, Request, Response, json_response
from .sessions import Sessions
from .usage import Usage

PATH = "/v1/audio/transcriptions"


@dataclass(frozen=True)
class Recording:
    model: str
    language: str | None  # None leaves the choice to the recogniser
    file: multipart.Part
    audio: wav.Wav


class Recogniser(Protocol):
    def transcribe(self, recording: Recording) -> str:
        """Returns the text, or raises ApiError. Called from several threads."""

    def stop(self) -> None:
        """Ends what is going on; afterwards transcribe() only fails."""


class Transcription:
    def __init__(self, sessions: Sessions, usage: Usage, recogniser: Recogniser) -> None:
        self._sessions = sessions
        self._usage = usage
        self._recogniser = recogniser

    def post(self, request: Request) -> Response:
        account = self._sessions.authenticate(request).account
        recording = _recording(request)
        self._usage.note(account.id, len(recording.file.content))
        # A recording of no length needs no recogniser.
        text = self._recogniser.transcribe(recording) if recording.audio.samples else ""
        return json_response(200, {"text": text})


def _recording(request: Request) -> Recording:
    try:
        parts = multipart.parse(request.headers.get("Content-Type", ""), request.body)
    except multipart.MultipartError as error:
        raise ApiError(400, str(error)) from None
    by_name = {part.name: part for part in parts}
    if len(by_name) < len(parts):
        raise ApiError(400, "The form has two parts of the same name.")
    file = by_name.get("file")
    if file is None or file.filename is None:
        raise ApiError(400, "The form has no file.")
    model = _text(by_name, "model")
    if model is None:
        raise ApiError(400, "The form has no model.")
    if _text(by_name, "response_format") not in (None, "json"):
        raise ApiError(400, "The response_format can only be json.")
    try:
        audio = wav.parse(file.content)
    except wav.WavError as error:
        raise ApiError(415, str(error)) from None
    return Recording(model, _text(by_name, "language"), file, audio)


def _text(by_name: dict[str, multipart.Part], name: str) -> str | None:
    part = by_name.get(name)
    if part is None:
        return None
    try:
        text = part.content.decode("utf-8").strip()
    except UnicodeDecodeError:
        text = ""
    if not text:
        raise ApiError(400, f"The part {name} is empty or not text.")
    return text

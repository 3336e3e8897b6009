"""The control API: tests script replies, fix transcripts and read the journal."""

from __future__ import annotations

import base64
import threading

from .accounts import Accounts, iso_time
from .crash_reports import CrashReports
from .journal import Journal, entry_for
from .messages import ApiError, Request, Response, json_response
from .router import Router
from .script import ScriptedReply, parse_replies
from .transcription import Recogniser, Recording

_PREFIX = "/_control/"
_DEFAULT_TIMEOUT_MS = 5_000
_MAX_TIMEOUT_MS = 600_000


class FixedTranscript:
    """A recogniser that stands in front of another one while it is given a text."""

    def __init__(self, recogniser: Recogniser) -> None:
        self._recogniser = recogniser
        self.text: str | None = None

    def transcribe(self, recording: Recording) -> str:
        text = self.text
        return self._recogniser.transcribe(recording) if text is None else text

    def stop(self) -> None:
        self._recogniser.stop()


class Control:
    """Stands in front of the endpoints: keeps the journal and plays the script."""

    def __init__(
        self,
        endpoints: Router,
        transcript: FixedTranscript,
        accounts: Accounts,
        crash_reports: CrashReports,
    ) -> None:
        self._endpoints = endpoints
        self._transcript = transcript
        self._accounts = accounts
        self._crash_reports = crash_reports
        self._journal = Journal()
        self._script: list[ScriptedReply] = []
        self._lock = threading.Lock()
        self._stopping = threading.Event()
        self._router = Router(
            {
                f"{_PREFIX}accounts": {"GET": self._list_accounts},
                f"{_PREFIX}confirm": {"POST": self._confirm},
                f"{_PREFIX}crash-reports": {"GET": self._list_crash_reports},
                f"{_PREFIX}replies": {"POST": self._add_replies},
                f"{_PREFIX}requests": {"GET": self._list_requests, "DELETE": self._forget},
                f"{_PREFIX}transcript": {"PUT": self._set_transcript},
            }
        )

    def answer(self, request: Request) -> Response | None:
        """None closes the connection without an answer."""
        if request.path.startswith(_PREFIX):
            return self._router.answer(request)
        entry = entry_for(request)
        # One lock for both: the first request in the journal also gets the first reply.
        with self._lock:
            self._journal.add(entry)
            reply = self._take_reply(request) if request.fault is None else None
        response = self._play(reply, request) if reply else self._endpoints.answer(request)
        # Before the answer leaves: who has received it must find it in the journal.
        self._journal.finish(entry, response.status if response else None)
        return response

    def stop(self) -> None:
        """Ends every delay and every wait at once."""
        self._stopping.set()
        self._journal.stop()

    def _take_reply(self, request: Request) -> ScriptedReply | None:
        for index, reply in enumerate(self._script):
            if reply.fits(request):
                return self._script.pop(index)
        return None

    def _play(self, reply: ScriptedReply, request: Request) -> Response | None:
        stopped = self._stopping.wait(reply.delay_s) if reply.delay_s else False
        if stopped or reply.drop:
            return None
        return self._endpoints.answer(request) if reply.recognise else reply.response

    def _add_replies(self, request: Request) -> Response:
        replies = parse_replies(request.json())
        with self._lock:
            self._script.extend(replies)
            return json_response(200, {"queued": len(self._script)})

    def _list_requests(self, request: Request) -> Response:
        query = request.query
        count = _number(query.get("wait_for", "0"))
        timeout_ms = _number(query.get("timeout_ms", str(_DEFAULT_TIMEOUT_MS)))
        answered = query.get("answered", "0") == "1"
        timeout_s = min(timeout_ms, _MAX_TIMEOUT_MS) / 1000
        found = self._journal.wait(query.get("path"), count, answered, timeout_s)
        return json_response(200, found)

    def _forget(self, _request: Request) -> Response:
        with self._lock:
            self._journal.clear()
            self._script.clear()
        return Response(204)

    def _set_transcript(self, request: Request) -> Response:
        value = request.json()
        text = value.get("text") if isinstance(value, dict) else value
        if not (text is None or isinstance(text, str)) or isinstance(value, str):
            raise ApiError(400, "The transcript is null or an object with a text.")
        self._transcript.text = text
        return Response(204)

    def _list_accounts(self, _request: Request) -> Response:
        accounts = [
            {
                "id": account.id,
                "email": account.email,
                "provider": account.provider,
                "created_at": iso_time(account.created_at),
                "confirmed_at": iso_time(account.confirmed_at),
            }
            for account in self._accounts.all()
        ]
        return json_response(200, accounts)

    def _confirm(self, request: Request) -> Response:
        value = request.json()
        email = value.get("email") if isinstance(value, dict) else None
        if not isinstance(email, str):
            raise ApiError(400, "The body is not an object with an email.")
        if not self._accounts.confirm(email):
            raise ApiError(404, "Nobody has signed up with this address.")
        return Response(204)

    def _list_crash_reports(self, _request: Request) -> Response:
        reports = [base64.b64encode(body).decode("ascii") for body in self._crash_reports.all()]
        return json_response(200, reports)


def _number(text: str) -> int:
    if not (text.isascii() and text.isdigit() and len(text) <= 9):
        raise ApiError(400, "A query parameter is not a number.")
    return int(text)

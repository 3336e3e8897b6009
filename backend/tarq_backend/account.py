"""The account service: what the owner of an account can do with it."""

from __future__ import annotations

from .accounts import Accounts, iso_time
from .messages import Request, Response, json_response
from .sessions import Sessions
from .usage import Usage


class AccountService:
    def __init__(self, accounts: Accounts, sessions: Sessions, usage: Usage) -> None:
        self._accounts = accounts
        self._sessions = sessions
        self._usage = usage

    def export(self, request: Request) -> Response:
        account = self._sessions.authenticate(request).account
        requests = self._usage.of(account.id)
        content = {
            "user_id": account.id,
            "email": account.email,
            "provider": account.provider,
            "created_at": iso_time(account.created_at),
            "confirmed_at": iso_time(account.confirmed_at),
            "sessions": self._sessions.of(account.id),
            "transcriptions": {"count": len(requests), "requests": requests},
        }
        return json_response(200, content)

    def delete(self, request: Request) -> Response:
        self._accounts.remove(self._sessions.authenticate(request).account.id)
        return Response(204)

    def log_out(self, request: Request) -> Response:
        session_id = self._sessions.authenticate(request).session_id
        if session_id is not None:
            self._sessions.end(session_id)
        return Response(204)

"""The auth service: sessions for passwords, refresh tokens and authorisation codes."""

from __future__ import annotations

from typing import Any

from .accounts import Accounts
from .codes import Codes
from .messages import ApiError, Request, Response, json_response
from .refusals import AuthError, GrantError, KeyMissing
from .router import Endpoint
from .sessions import Session, Sessions


class Auth:
    def __init__(self, accounts: Accounts, sessions: Sessions, codes: Codes) -> None:
        self._accounts = accounts
        self._sessions = sessions
        self._codes = codes

    def token(self, request: Request) -> Response:
        grants = {
            "password": self._password_grant,
            "refresh_token": self._refresh_grant,
            "pkce": self._code_grant,
        }
        grant = grants.get(request.query.get("grant_type", ""))
        if grant is None:
            raise GrantError("", "unsupported_grant_type")
        return json_response(200, _token_answer(grant(_fields(request))))

    def sign_up(self, request: Request) -> Response:
        fields = _fields(request)
        email = _text(fields, "email")
        if not email:
            raise AuthError(422, "To signup, please provide your email")
        account = self._accounts.sign_up(email, _text(fields, "password"))
        if account.confirmed_at is None:
            return json_response(200, account.user())
        return json_response(200, _token_answer(self._sessions.start(account)))

    def recover(self, request: Request) -> Response:
        email = _text(_fields(request), "email")
        if not email:
            raise AuthError(422, "Password recovery requires an email")
        self._accounts.send_recovery(email)
        return json_response(200, {})

    def _password_grant(self, fields: dict[str, Any]) -> Session:
        email = _text(fields, "email")
        if not email:
            raise AuthError(400, "missing email or phone")
        return self._sessions.start(self._accounts.sign_in(email, _text(fields, "password")))

    def _refresh_grant(self, fields: dict[str, Any]) -> Session:
        token = _text(fields, "refresh_token")
        if not token:
            raise GrantError("refresh_token required", "invalid_request")
        return self._sessions.refresh(token)

    def _code_grant(self, fields: dict[str, Any]) -> Session:
        code, verifier = _text(fields, "auth_code"), _text(fields, "code_verifier")
        if not (code and verifier):
            message = "invalid request: both auth code and code verifier should be non-empty"
            raise AuthError(400, message)
        account = self._accounts.get(self._codes.redeem(code, verifier))
        if account is None:  # removed meanwhile
            raise AuthError(404, "invalid flow state, no valid flow state found")
        return self._sessions.start(account)


def keyed(endpoint: Endpoint) -> Endpoint:
    """Behind the gateway, which asks for a project's key; any key will do here."""

    def guarded(request: Request) -> Response:
        if not request.headers.get("apikey"):
            raise KeyMissing()
        return endpoint(request)

    return guarded


def _token_answer(session: Session) -> dict[str, Any]:
    return {
        "access_token": session.access_token,
        "token_type": "bearer",
        "expires_in": session.expires_in,
        "expires_at": session.expires_at,
        "refresh_token": session.refresh_token,
        "user": session.account.user(),
    }


def _fields(request: Request) -> dict[str, Any]:
    try:
        value = request.json()
    except ApiError:
        value = None
    if not isinstance(value, dict):
        raise AuthError(400, "Could not parse request body as JSON")
    return value


def _text(fields: dict[str, Any], name: str) -> str:
    """Empty where it is missing."""
    value = fields.get(name, "")
    if not isinstance(value, str):
        raise AuthError(400, "Could not parse request body as JSON")
    return value

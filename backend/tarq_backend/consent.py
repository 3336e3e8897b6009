"""The page on which a provider asks whether to sign somebody in."""

from __future__ import annotations

import html
import ipaddress
import re
from dataclasses import dataclass
from urllib.parse import SplitResult, parse_qsl, quote, urlsplit

from .accounts import Accounts
from .codes import Codes, is_challenge
from .messages import Request, Response
from .refusals import AuthError

_PROVIDERS = {"google": "Google", "github": "GitHub"}
_DEFAULT_EMAIL = "demo@tarq.example"
_DENIAL = {"error": "access_denied", "error_description": "The user denied the request"}
_PAGE = """<!DOCTYPE html>
<html lang="en">
<meta charset="utf-8">
<title>Sign in with {provider}</title>
<h1>Sign in with {provider}</h1>
<form method="post">
<p><label>E-mail <input id="email" name="email" type="email" value="{email}" required></label>
<p><button id="allow" name="decision" value="allow">Allow</button>
<button id="deny" name="decision" value="deny" formnovalidate>Deny</button>
</form>
"""


@dataclass(frozen=True)
class _Question:
    provider: str
    redirect: SplitResult
    challenge: str


class Consent:
    """The form goes back to the very address of the page, so nothing has to be remembered."""

    def __init__(self, accounts: Accounts, codes: Codes) -> None:
        self._accounts = accounts
        self._codes = codes

    def show(self, request: Request) -> Response:
        name = _PROVIDERS[_question(request).provider]
        page = _PAGE.format(provider=html.escape(name), email=html.escape(_DEFAULT_EMAIL))
        return Response(200, page.encode("utf-8"), {"Content-Type": "text/html; charset=utf-8"})

    def decide(self, request: Request) -> Response:
        question = _question(request)
        form = dict(parse_qsl(request.body.decode("utf-8", "replace"), keep_blank_values=True))
        if form.get("decision") != "allow":
            return _redirect(question.redirect, _DENIAL)
        account = self._accounts.vouched_for(form.get("email", ""), question.provider)
        code = self._codes.issue(account.id, question.challenge)
        return _redirect(question.redirect, {"code": code})


def _question(request: Request) -> _Question:
    query = request.query
    provider = query.get("provider", "")
    if provider not in _PROVIDERS:
        raise AuthError(400, "Unsupported provider: provider is not enabled")
    redirect = _loopback_url(query.get("redirect_to", ""))
    if redirect is None:
        raise AuthError(400, "The redirect_to is not an http URL on a loopback address")
    if query.get("flow_type") != "pkce" or query.get("code_challenge_method") != "S256":
        raise AuthError(400, "Only the PKCE flow with S256 is served")
    challenge = query.get("code_challenge", "")
    if not is_challenge(challenge):
        raise AuthError(400, "code challenge has to be between 43 and 128 unreserved characters")
    return _Question(provider, redirect, challenge)


def _loopback_url(text: str) -> SplitResult | None:
    if not re.fullmatch(r"[!-~]+", text):  # a line break would end the header
        return None
    try:
        url = urlsplit(text)
        host = url.hostname
        _ = url.port  # which may be no number
    except ValueError:
        return None
    # Browsers and we don't agree on where the host is in "http://host\@127.0.0.1/".
    return url if url.scheme == "http" and "@" not in url.netloc and _is_loopback(host) else None


def _is_loopback(host: str | None) -> bool:
    try:
        return host == "localhost" or ipaddress.ip_address(host or "").is_loopback
    except ValueError:
        return False


def _redirect(url: SplitResult, values: dict[str, str]) -> Response:
    query = "&".join(f"{name}={quote(value, safe='')}" for name, value in values.items())
    if url.query:
        query = f"{url.query}&{query}"
    return Response(302, headers={"Location": url._replace(query=query, fragment="").geturl()})

"""JSON Web Tokens (RFC 7519), signed with HS256 and nothing else."""

from __future__ import annotations

import base64
import hashlib
import hmac
import json
import time
from collections.abc import Mapping
from typing import Any

_ALGORITHM = "HS256"


class TokenError(ValueError):
    """The token is not to be trusted; the text says why and quotes nothing."""


def issue(claims: Mapping[str, Any], secret: bytes) -> str:
    header = {"alg": _ALGORITHM, "typ": "JWT"}
    texts = (json.dumps(each, separators=(",", ":")) for each in (header, claims))
    signed = ".".join(_encode(text.encode("utf-8")) for text in texts)
    return f"{signed}.{_encode(_sign(signed, secret))}"


def verify(token: str, secret: bytes, audience: str) -> dict[str, Any]:
    """Returns the claims of a token that is authentic, meant for us and not expired."""
    segments = token.split(".")
    if len(segments) != 3 or not token.isascii():
        raise TokenError("The token is malformed.")
    signed = f"{segments[0]}.{segments[1]}"
    # The signature comes first, so that nothing is parsed that a stranger wrote.
    if not hmac.compare_digest(_encode(_sign(signed, secret)), segments[2]):
        raise TokenError("The token has a wrong signature.")
    header, claims = _object(segments[0]), _object(segments[1])
    if header.get("alg") != _ALGORITHM or "crit" in header:
        raise TokenError("The token uses an unsupported algorithm.")
    if claims.get("aud") != audience:
        raise TokenError("The token is meant for another audience.")
    expiry = claims.get("exp")
    if not isinstance(expiry, (int, float)):
        raise TokenError("The token has no expiry.")
    if not expiry > time.time():  # also true for NaN, which JSON parsers let through
        raise TokenError("The token has expired.")
    return claims


def _sign(signed: str, secret: bytes) -> bytes:
    return hmac.new(secret, signed.encode("ascii"), hashlib.sha256).digest()


def _encode(data: bytes) -> str:
    return base64.urlsafe_b64encode(data).rstrip(b"=").decode("ascii")


def _object(segment: str) -> dict[str, Any]:
    try:
        value = json.loads(base64.urlsafe_b64decode(segment + "=" * (-len(segment) % 4)))
    except (ValueError, RecursionError):
        raise TokenError("The token is malformed.") from None
    if not isinstance(value, dict):
        raise TokenError("The token is malformed.")
    return value

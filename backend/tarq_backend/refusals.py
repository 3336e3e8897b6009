"""The refusals of the auth service, which answers in three forms."""

from __future__ import annotations

from typing import Any

from .messages import ApiError


class AuthError(ApiError):
    """What the service refuses by itself."""

    def body(self) -> dict[str, Any]:
        return {"code": self.status, "msg": self.message}


class GrantError(ApiError):
    """A refused grant, as OAuth has it (RFC 6749, 5.2); the status is always 400."""

    def __init__(self, description: str, error: str = "invalid_grant") -> None:
        super().__init__(400, description)
        self._error = error

    def body(self) -> dict[str, Any]:
        return {"error": self._error, "error_description": self.message}


class KeyMissing(ApiError):
    """The gateway in front of the service has let nobody in."""

    def __init__(self) -> None:
        super().__init__(401, "No API key found in request")

    def body(self) -> dict[str, Any]:
        return {"message": self.message}

"""Finds the endpoint for a request and turns every outcome into a response."""

from __future__ import annotations

from collections.abc import Callable, Mapping

from .log import log_failure
from .messages import ApiError, Request, Response

Endpoint = Callable[[Request], Response]
Routes = Mapping[str, Mapping[str, Endpoint]]  # path, then method


class Router:
    def __init__(self, routes: Routes) -> None:
        self._routes = routes

    def answer(self, request: Request) -> Response:
        """Never raises: what goes wrong becomes a 4xx or 5xx answer."""
        try:
            if request.fault is not None:
                raise request.fault
            return self._endpoint(request)(request)
        except ApiError as error:
            return error.response()
        except Exception as error:
            log_failure(error)
            return ApiError(500, "The server failed to handle this request.").response()

    def _endpoint(self, request: Request) -> Endpoint:
        methods = self._routes.get(request.path)
        if methods is None:
            raise ApiError(404, "There is nothing at this path.")
        if request.method not in methods:
            allowed = ", ".join(sorted(methods))
            raise ApiError(405, f"This path only accepts {allowed}.", {"Allow": allowed})
        return methods[request.method]

"""The wire: an HTTP/1.1 server on the loopback interface, one thread per connection."""

from __future__ import annotations

import socket
import socketserver
import sys
import threading
import time
from collections.abc import Callable
from http import HTTPStatus
from http.server import BaseHTTPRequestHandler
from typing import Any

from .log import log, log_failure, log_request
from .messages import ApiError, Request, Response

# Answers a request; None closes the connection without an answer.
Answer = Callable[[Request], "Response | None"]

_IDLE_TIMEOUT_S = 300
_LINGER_S = 5.0
_STOP_TIMEOUT_S = 3.0
_METHODS_WITH_BODY = ("PATCH", "POST", "PUT")


class Server(socketserver.ThreadingTCPServer):
    """Accepts connections from start() to stop().

    Not an http.server.HTTPServer, because that one looks up the host's name in
    DNS when it binds, which can take seconds.
    """

    allow_reuse_address = True
    daemon_threads = True
    request_queue_size = 64

    def __init__(self, port: int, max_body_bytes: int, answer: Answer) -> None:
        self.answer = answer
        self.max_body_bytes = max_body_bytes
        self._connections: set[socket.socket] = set()
        self._changed = threading.Condition()
        super().__init__(("127.0.0.1", port), Handler)

    @property
    def url(self) -> str:
        return f"http://127.0.0.1:{self.server_address[1]}"

    def start(self) -> None:
        threading.Thread(target=self.serve_forever, name="accept", daemon=True).start()

    def stop(self) -> None:
        """Hangs up on everyone and lets the handlers clean up behind themselves."""
        # Wakes the accepting thread, which would otherwise look up only twice a second.
        self.socket.shutdown(socket.SHUT_RDWR)
        self.shutdown()
        self.server_close()
        with self._changed:
            for connection in self._connections:
                try:
                    connection.shutdown(socket.SHUT_RDWR)
                except OSError:
                    pass  # the client was faster
            self._changed.wait_for(lambda: not self._connections, _STOP_TIMEOUT_S)

    def process_request(self, request: Any, client_address: Any) -> None:
        with self._changed:
            self._connections.add(request)
        super().process_request(request, client_address)

    def shutdown_request(self, request: Any) -> None:
        with self._changed:
            self._connections.discard(request)
            self._changed.notify_all()
        super().shutdown_request(request)

    def handle_error(self, request: Any, client_address: Any) -> None:
        error = sys.exc_info()[1]
        if isinstance(error, OSError):
            log.info("connection lost")
        elif error is not None:
            log_failure(error)


class Handler(BaseHTTPRequestHandler):
    server: Server
    protocol_version = "HTTP/1.1"
    # Garbage is answered with a status line too, instead of the bare body of HTTP/0.9.
    default_request_version = "HTTP/1.0"
    timeout = _IDLE_TIMEOUT_S
    # Header and body leave in two writes, which would otherwise wait for an acknowledgement.
    disable_nagle_algorithm = True

    def _serve(self) -> None:
        started = time.monotonic()
        request = self._receive()
        response = self.server.answer(request)
        status = response.status if response else "dropped"
        log_request(request.method, request.path, status, (time.monotonic() - started) * 1000)
        if response is None:
            self.close_connection = True
            return
        self._send(response, close=request.fault is not None)
        if request.fault is not None:
            self._discard_input()

    do_GET = do_HEAD = do_POST = do_PUT = do_PATCH = do_DELETE = do_OPTIONS = _serve

    def _receive(self) -> Request:
        """Reads the body, or refuses to on the strength of the headers alone."""
        try:
            length = self._body_length()
        except ApiError as fault:
            return Request(self.command, self.path, self.headers, fault=fault)
        if self.headers.get("Expect", "").lower() == "100-continue":
            super().handle_expect_100()
        body = self.rfile.read(length)
        if len(body) < length:
            raise ConnectionAbortedError("the body ended early")
        return Request(self.command, self.path, self.headers, body)

    def _body_length(self) -> int:
        lengths = set(self.headers.get_all("Content-Length", []))
        missing = not lengths and self.command in _METHODS_WITH_BODY
        if missing or "Transfer-Encoding" in self.headers:
            raise ApiError(411, "The request needs a Content-Length.")
        if not lengths:
            return 0
        text = lengths.pop().strip()
        # int() would also take signs, blanks and underscores.
        if lengths or not (text.isascii() and text.isdigit()):
            raise ApiError(400, "The Content-Length is not a number.")
        # More than 18 digits are too large anyway, and costly to convert.
        if len(text) > 18 or int(text) > self.server.max_body_bytes:
            limit = self.server.max_body_bytes
            raise ApiError(413, f"The request body is larger than {limit} bytes.")
        return int(text)

    def _send(self, response: Response, close: bool) -> None:
        headers = {
            "Content-Type": "application/octet-stream",
            "Content-Length": str(len(response.body)),
            **({"Connection": "close"} if close else {}),
        }
        names = {name.lower(): name for name in headers}
        for name, value in response.headers.items():
            headers[names.get(name.lower(), name)] = value
        bodiless = response.status in (204, 304)
        if bodiless:
            del headers["Content-Type"], headers["Content-Length"]
        self.send_response(response.status)
        for name, value in headers.items():
            self.send_header(name, value)
        self.end_headers()
        if not bodiless and self.command != "HEAD":
            self.wfile.write(response.body)
            # After a length that lies, nobody could find the start of the next answer.
            if headers["Content-Length"] != str(len(response.body)):
                self.close_connection = True

    def _discard_input(self) -> None:
        """Closing with unread input resets the connection, and the answer would be lost."""
        self.connection.shutdown(socket.SHUT_WR)
        deadline = time.monotonic() + _LINGER_S
        while (left := deadline - time.monotonic()) > 0:
            self.connection.settimeout(left)
            if not self.connection.recv(65536):
                return

    def handle_expect_100(self) -> bool:
        # Not yet: a body that is too large is refused before it is sent.
        return True

    def send_error(self, code: int, message: str | None = None, explain: str | None = None) -> None:
        """Called by the base class for requests that it cannot parse."""
        self.close_connection = True
        # The base class's message quotes the request line, which may be anything.
        log_request("-", "-", int(code), 0)
        self._send(ApiError(code, HTTPStatus(code).phrase).response(), close=True)

    def version_string(self) -> str:
        return "tarq-backend"

    def log_request(self, code: int | str = "-", size: int | str = "-") -> None:
        """Requests are logged once, by _serve()."""

    def log_error(self, format: str, *args: Any) -> None:
        """Quotes its input, so it stays silent."""

"""The server keeps to HTTP, whatever the client does."""

from __future__ import annotations

import http.client
import json
import random
import socket
import unittest

from support import (
    DEADLINE_S,
    EMPTY,
    FORM_TYPE,
    TRANSCRIPTIONS,
    Backend,
    BackendTestCase,
    form,
)

POST = f"POST {TRANSCRIPTIONS} HTTP/1.1\r\nHost: x\r\n".encode()


def receive_all(connection: socket.socket) -> bytes:
    received = b""
    while data := connection.recv(65536):
        received += data
    return received


class HttpTest(BackendTestCase):
    def exchange(self, sent: bytes, half_close: bool = False) -> bytes:
        """Sends bytes and returns everything up to the server's hanging up."""
        with self.backend.connect() as connection:
            connection.sendall(sent)
            if half_close:
                connection.shutdown(socket.SHUT_WR)
            return receive_all(connection)

    def assert_error(self, answer: bytes, status: int) -> None:
        head, _, body = answer.partition(b"\r\n\r\n")
        self.assertRegex(head, rb"^HTTP/1.1 %d " % status)
        self.assertTrue(json.loads(body)["error"]["message"])

    def test_unknown_path_is_404(self) -> None:
        for path in ("/", "/v1/audio", f"{TRANSCRIPTIONS}/", "/%2e%2e/x", "*", "//x[", "/\x1b[0m"):
            with self.subTest(path):
                answer = self.exchange(f"GET {path} HTTP/1.1\r\nConnection: close\r\n\r\n".encode())
                self.assert_error(answer, 404)

    def test_wrong_method_is_405_and_names_the_right_one(self) -> None:
        for method in ("GET", "PUT", "DELETE", "OPTIONS"):
            with self.subTest(method):
                answer = self.backend.request(method, TRANSCRIPTIONS, b"")
                self.assertEqual((answer.status, answer.headers["Allow"]), (405, "POST"))
                self.assertTrue(answer.message)

    def test_head_is_answered_without_a_body(self) -> None:
        head = f"HEAD {TRANSCRIPTIONS} HTTP/1.1\r\nConnection: close\r\n\r\n".encode()
        answer = self.exchange(head)
        self.assertTrue(answer.startswith(b"HTTP/1.1 405 "))
        self.assertTrue(answer.endswith(b"\r\n\r\n"))

    def test_unknown_method_is_501(self) -> None:
        self.assert_error(self.exchange(b"BREW / HTTP/1.1\r\n\r\n"), 501)

    def test_missing_length_is_411(self) -> None:
        for extra in (b"", b"Transfer-Encoding: chunked\r\n"):
            with self.subTest(extra):
                self.assert_error(self.exchange(POST + extra + b"\r\n", half_close=True), 411)

    def test_senseless_length_is_400(self) -> None:
        for length in (b"-1", b"+5", b"1_0", b"5x", b"", b"3\r\nContent-Length: 4"):
            with self.subTest(length):
                sent = POST + b"Content-Length: " + length + b"\r\n\r\n"
                self.assert_error(self.exchange(sent, half_close=True), 400)

    def test_too_large_body_is_refused_by_its_length(self) -> None:
        for length in (25 * 1024 * 1024 + 1, 10**30):
            with self.subTest(length=length):
                sent = POST + f"Content-Length: {length}\r\n\r\n".encode()
                # Nothing of the body is sent, so an answer proves that nothing was awaited.
                self.assert_error(self.exchange(sent, half_close=True), 413)

    def test_refusal_reaches_a_client_that_goes_on_sending(self) -> None:
        with Backend("--max-audio-mb", "1") as backend:
            answer = backend.post_form(form(bytes(24 * 1024 * 1024)))
            self.assertEqual((answer.status, answer.headers["Connection"]), (413, "close"))
            self.assertTrue(answer.message)
            at_the_limit = form(b"")
            padding = bytes(1024 * 1024 - len(at_the_limit))
            self.assertEqual(backend.post_form(form(padding)).status, 415)

    def test_body_is_not_invited_when_it_is_too_large(self) -> None:
        expect = b"Expect: 100-continue\r\n"
        sent = POST + expect + b"Content-Length: 99999999\r\n\r\n"
        self.assert_error(self.exchange(sent, half_close=True), 413)
        with self.backend.connect() as connection:
            connection.sendall(POST + expect + b"Connection: close\r\nContent-Length: 2\r\n\r\n")
            self.assertTrue(connection.recv(65536).startswith(b"HTTP/1.1 100 "))
            connection.sendall(b"{}")
            self.assert_error(receive_all(connection), 401)

    def test_connection_is_kept_for_the_next_request(self) -> None:
        headers = {"Authorization": f"Bearer {self.backend.token}", "Content-Type": FORM_TYPE}
        connection = http.client.HTTPConnection("127.0.0.1", self.backend.port, timeout=DEADLINE_S)
        self.addCleanup(connection.close)
        connection.connect()
        used = connection.sock
        for path, status in ((TRANSCRIPTIONS, 200), ("/unknown", 404), (TRANSCRIPTIONS, 200)):
            connection.request("POST", path, form(EMPTY), headers)
            response = connection.getresponse()
            response.read()
            self.assertEqual(response.status, status)
            self.assertIs(connection.sock, used)

    def test_body_that_ends_early_is_no_request(self) -> None:
        self.assertEqual(self.exchange(POST + b"Content-Length: 9\r\n\r\nx", half_close=True), b"")
        self.assertEqual(self.backend.journal(), [])

    def test_control_api_is_absent_by_default(self) -> None:
        with Backend() as backend:
            rows = (
                ("GET", "accounts"),
                ("POST", "confirm"),
                ("GET", "crash-reports"),
                ("GET", "requests"),
                ("POST", "replies"),
                ("PUT", "transcript"),
            )
            for method, path in rows:
                with self.subTest(path):
                    answer = backend.request(method, f"/_control/{path}", b"[]")
                    self.assertEqual(answer.status, 404)

    def test_server_survives_garbage(self) -> None:
        source = random.Random(1)
        headers = f"Content-Type: {FORM_TYPE}\r\nAuthorization: Bearer {self.backend.token}\r\n"
        body = form(EMPTY)
        valid = POST + f"{headers}Content-Length: {len(body)}\r\n\r\n".encode() + body
        for _ in range(150):
            self.throw(source.randbytes(source.randrange(1, 4000)))
            damaged = bytearray(valid)
            for _ in range(source.randrange(1, 8)):
                damaged[source.randrange(len(damaged))] = source.randrange(256)
            self.throw(bytes(damaged[: source.randrange(1, len(damaged) + 1)]))
        for line in (b"GET /\r\n\r\n", b"GET " + b"x" * 70_000, POST + b"a: b\r\n" * 200 + b"\r\n"):
            self.throw(line)
        self.assertEqual(self.backend.transcribe(EMPTY).status, 200)

    def throw(self, data: bytes) -> None:
        try:
            self.exchange(data, half_close=True)
        except ConnectionError:
            pass  # the server may hang up before it has read everything


if __name__ == "__main__":
    unittest.main()

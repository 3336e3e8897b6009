"""The process itself: its one line of output, its log and its end."""

from __future__ import annotations

import re
import signal
import subprocess
import sys
import tempfile
import unittest

from support import DEADLINE_S, EMPTY, PROGRAM, SILENCE, TRANSCRIPTIONS, Backend, form


class ProcessTest(unittest.TestCase):
    def test_stdout_is_the_url_and_nothing_else(self) -> None:
        with Backend() as backend:
            self.assertRegex(backend.url, r"^http://127\.0\.0\.1:[1-9][0-9]*$")
            backend.transcribe(EMPTY)
            backend.stop()
            self.assertEqual(backend.rest_of_stdout, b"")

    def test_signal_ends_it_cleanly(self) -> None:
        for number in (signal.SIGTERM, signal.SIGINT):
            with self.subTest(number.name), Backend() as backend:
                with backend.connect() as kept_alive:
                    kept_alive.sendall(b"HEAD / HTTP/1.1\r\n\r\n")
                    self.assertTrue(kept_alive.recv(65536).startswith(b"HTTP/1.1 404 "))
                    self.assertEqual(backend.stop(number), 0)
                self.assertRegex(backend.log, r"\A.* HEAD / 404 .*\n\Z")

    def test_log_has_one_line_for_each_request(self) -> None:
        with Backend() as backend:
            backend.transcribe(EMPTY)
            backend.request("GET", "/x?secret=1")
            backend.stop()
            first, second = backend.log.splitlines()
            self.assertRegex(first, rf"^tarq-backend: POST {re.escape(TRANSCRIPTIONS)} 200 \d+ ms$")
            self.assertRegex(second, r"^tarq-backend: GET /x 404 \d+ ms$")

    def test_log_holds_no_token_and_no_transcript(self) -> None:
        with Backend("--control") as backend:
            backend.set_transcript("confidential words")
            token = backend.token
            good = form(SILENCE)
            backend.post_form(good)
            backend.post_form(good, token=f"{token}x")
            backend.post_form(good, content_type=token)
            backend.request("GET", f"/?token={token}")
            for garbage in (f"Authorization: Bearer {token}\r\n", f"{token} / HTTP/1.1\r\n\r\n"):
                with backend.connect() as connection:
                    connection.sendall(garbage.encode())
                    connection.recv(65536)
            backend.stop()
            self.assertEqual(backend.log.count(" ms\n"), 7, backend.log)
            for secret in (token, *token.split("."), "confidential"):
                self.assertNotIn(secret, backend.log)

    def test_log_line_cannot_be_forged(self) -> None:
        with Backend() as backend:
            with backend.connect() as connection:
                connection.sendall(b"GET /\x1b[2J\x85 HTTP/1.1\r\nConnection: close\r\n\r\n")
                connection.recv(65536)
            backend.stop()
            self.assertTrue(backend.log.isascii())
            self.assertNotIn("\x1b", backend.log)

    def test_port_can_be_chosen_and_taken_only_once(self) -> None:
        with Backend() as first:
            with self.assertRaisesRegex(AssertionError, "Address already in use"):
                Backend("--port", str(first.port))
            port = first.port
        with Backend("--port", str(port)) as second:
            self.assertEqual(second.port, port)

    def test_senseless_options_are_refused(self) -> None:
        rows = (["--port", "65536"], ["--port", "x"], ["--max-audio-mb", "0"], ["--unknown"])
        for options in rows:
            with self.subTest(options), tempfile.TemporaryDirectory() as directory:
                command = [sys.executable, PROGRAM, "--state-dir", directory, *options]
                run = subprocess.run(command, capture_output=True, text=True, timeout=DEADLINE_S)
                self.assertEqual((run.returncode, run.stdout), (2, ""))
                self.assertNotIn("Traceback", run.stderr)


if __name__ == "__main__":
    unittest.main()

"""--issue-session writes what the client reads, and keeps its hands off the rest."""

from __future__ import annotations

import base64
import json
import stat
import subprocess
import tempfile
import time
import unittest
import uuid
from pathlib import Path
from typing import Any

from support import EMPTY, Backend, form, run_program

KEYS = {"accessToken", "refreshToken", "expiresAt", "userId", "userEmail"}


def mode(path: Path) -> int:
    return stat.S_IMODE(path.stat().st_mode)


class SessionTest(unittest.TestCase):
    def setUp(self) -> None:
        self.directory = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.state_dir = self.directory / "state"
        self.file = self.directory / "config" / "keys.json"

    def issue(self, *options: str) -> dict[str, Any]:
        run = run_program("--state-dir", self.state_dir, "--issue-session", self.file, *options)
        self.assertEqual((run.stdout, run.stderr), ("", ""))
        return json.loads(self.file.read_bytes())

    def assert_refused(self, content: str) -> None:
        self.file.parent.mkdir(exist_ok=True)
        self.file.write_text(content)
        with self.assertRaises(subprocess.CalledProcessError) as caught:
            self.issue()
        self.assertEqual(caught.exception.returncode, 1)
        self.assertNotIn("Traceback", caught.exception.stderr)
        self.assertEqual(self.file.read_text(), content)

    def test_session_has_the_keys_of_the_client(self) -> None:
        before = time.time()
        session = self.issue("--email", "ada@tarq.example", "--token-lifetime", "600")
        self.assertEqual(session.keys(), KEYS)
        self.assertEqual(session["userEmail"], "ada@tarq.example")
        self.assertEqual(str(uuid.UUID(session["userId"])), session["userId"])
        self.assertAlmostEqual(session["expiresAt"], (before + 600) * 1000, delta=30_000)
        self.assertGreaterEqual(len(session["refreshToken"]), 32)
        payload = session["accessToken"].split(".")[1]
        claims = json.loads(base64.urlsafe_b64decode(payload + "=" * (-len(payload) % 4)))
        self.assertEqual(claims["exp"] * 1000, session["expiresAt"])
        self.assertEqual(claims["exp"] - claims["iat"], 600)
        self.assertEqual((claims["role"], claims["aud"]), ("authenticated", "authenticated"))
        self.assertEqual((claims["sub"], claims["email"]), (session["userId"], "ada@tarq.example"))

    def test_lifetime_may_be_negative(self) -> None:
        self.assertLess(self.issue("--token-lifetime", "-60")["expiresAt"], time.time() * 1000)

    def test_other_keys_are_preserved(self) -> None:
        self.file.parent.mkdir()
        self.file.write_text('{"model": "größer", "accessToken": "old", "nested": {"a": [1]}}')
        session = self.issue()
        self.assertEqual((session["model"], session["nested"]), ("größer", {"a": [1]}))
        self.assertNotEqual(session["accessToken"], "old")
        self.assertEqual(session.keys(), KEYS | {"model", "nested"})

    def test_same_address_is_the_same_user(self) -> None:
        first, second = self.issue(), self.issue()
        other = self.issue("--email", "eve@tarq.example")
        self.assertEqual(first["userId"], second["userId"])
        self.assertNotEqual(first["userId"], other["userId"])
        self.assertNotEqual(first["refreshToken"], second["refreshToken"])

    def test_files_are_private(self) -> None:
        self.issue()
        for directory in (self.file.parent, self.state_dir):
            self.assertEqual(mode(directory), 0o700)
        for file in (self.file, *(self.state_dir / name for name in ("secret", "accounts.db"))):
            self.assertEqual(mode(file), 0o600)

    def test_file_that_was_public_becomes_private(self) -> None:
        self.file.parent.mkdir()
        self.file.write_text("{}")
        self.file.chmod(0o644)
        self.issue()
        self.assertEqual(mode(self.file), 0o600)

    def test_nothing_else_is_left_behind(self) -> None:
        self.issue()
        self.issue()
        left = sorted(path.name for path in self.directory.rglob("*") if path.is_file())
        self.assertEqual(left, ["accounts.db", "keys.json", "secret"])

    def test_file_of_another_kind_is_left_alone(self) -> None:
        for content in ("", "not JSON", "[1]", '"text"'):
            with self.subTest(content):
                self.assert_refused(content)

    def test_session_can_be_refreshed(self) -> None:
        refresh_token = self.issue()["refreshToken"]
        with Backend("--state-dir", str(self.state_dir)) as backend:
            answer = backend.refresh(refresh_token)
            self.assertEqual(answer.status, 200)
            self.assertEqual(answer.json()["user"]["email"], "demo@tarq.example")

    def test_senseless_address_is_reported(self) -> None:
        with self.assertRaises(subprocess.CalledProcessError) as caught:
            self.issue("--email", "nobody")
        self.assertEqual(caught.exception.returncode, 1)
        self.assertNotIn("Traceback", caught.exception.stderr)

    def test_damaged_database_is_reported(self) -> None:
        self.issue()
        (self.state_dir / "accounts.db").write_text("no database" * 100)
        self.assert_refused("{}")

    def test_damaged_secret_is_reported(self) -> None:
        self.issue()
        for content in ("", "abcd", "no hexadecimal"):
            with self.subTest(content):
                (self.state_dir / "secret").write_text(content)
                self.assert_refused("{}")

    def test_token_survives_a_restart(self) -> None:
        token = self.issue()["accessToken"]
        for _ in range(2):
            # The option is given twice; the last one counts.
            with Backend("--state-dir", str(self.state_dir)) as backend:
                self.assertEqual(backend.post_form(form(EMPTY), token=token).status, 200)


if __name__ == "__main__":
    unittest.main()

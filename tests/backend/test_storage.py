"""The database: private, without a secret in clear, and still there after a restart."""

from __future__ import annotations

import signal
import sqlite3
import stat
import tempfile
import unittest
from pathlib import Path
from urllib.parse import urlencode

from support import EMPTY, Backend, form, tokens_of
from test_oauth import CHALLENGE, QUERY, VERIFIER

PASSWORD = "nobody may read this"


class StorageTest(unittest.TestCase):
    def setUp(self) -> None:
        self.state_dir = Path(self.enterContext(tempfile.TemporaryDirectory()))

    def serve(self) -> Backend:
        # The option is given twice; the last one counts.
        return self.enterContext(Backend("--control", "--state-dir", str(self.state_dir)))

    def code(self, backend: Backend) -> str:
        body = b"decision=allow&email=code@tarq.example"
        answer = backend.request("POST", f"/auth/v1/authorize?{urlencode(QUERY)}", body)
        return answer.headers["Location"].partition("code=")[2]

    def count(self, *tables: str) -> list[int]:
        database = sqlite3.connect(self.state_dir / "accounts.db")
        try:
            select = "SELECT count(*) FROM "
            return [database.execute(select + table).fetchone()[0] for table in tables]
        finally:
            database.close()

    def test_everything_survives_a_restart(self) -> None:
        for number in (signal.SIGTERM, signal.SIGKILL):
            with self.subTest(number.name):
                backend = self.serve()
                email = f"{number.name}@tarq.example"
                session = backend.sign_up(email, PASSWORD).json()
                used = backend.sign_in(email, PASSWORD).json()["refresh_token"]
                backend.refresh(used)
                code = self.code(backend)
                backend.request("POST", "/v1/crash-report", b"oh no")
                backend.stop(number)

                backend = self.serve()
                answer = backend.post_form(form(EMPTY), token=session["access_token"])
                self.assertEqual(answer.status, 200)
                self.assertEqual(backend.refresh(session["refresh_token"]).status, 200)
                self.assertEqual(backend.refresh(used).status, 400)
                user = backend.sign_in(email, PASSWORD).json()["user"]
                self.assertEqual(user, session["user"])
                answer = backend.grant("pkce", auth_code=code, code_verifier=VERIFIER)
                self.assertEqual(answer.status, 200)
                self.assertTrue(backend.request("GET", "/_control/crash-reports").json())
                backend.stop()

    def test_no_secret_stands_in_a_file(self) -> None:
        backend = self.serve()
        signed_up = backend.sign_up("ada@tarq.example", PASSWORD)
        refreshed = backend.refresh(signed_up.json()["refresh_token"])
        code = self.code(backend)
        stored = b"".join(path.read_bytes() for path in self.state_dir.iterdir())
        for known in (b"ada@tarq.example", CHALLENGE.encode()):
            self.assertIn(known, stored)
        for secret in (PASSWORD, code, *tokens_of(signed_up), *tokens_of(refreshed)):
            self.assertNotIn(secret.encode(), stored)

    def test_same_passwords_do_not_look_the_same(self) -> None:
        backend = self.serve()
        for name in ("ada", "eve"):
            backend.sign_up(f"{name}@tarq.example", PASSWORD)
        database = sqlite3.connect(self.state_dir / "accounts.db")
        select = "SELECT password FROM accounts WHERE password IS NOT NULL"
        (first,), (second,) = database.execute(select).fetchall()
        database.close()
        self.assertNotEqual(first[:16], second[:16])
        self.assertNotEqual(first[16:], second[16:])

    def test_nothing_is_left_of_a_deleted_account(self) -> None:
        backend = self.serve()
        session = backend.sign_up("code@tarq.example", PASSWORD).json()
        token = session["access_token"]
        backend.refresh(session["refresh_token"])
        backend.post_form(form(EMPTY), token=token)
        self.code(backend)
        headers = {"Authorization": f"Bearer {token}"}
        owned = ("sessions", "refresh_tokens", "codes", "transcriptions")
        before = self.count(*owned)
        self.assertEqual(backend.request("DELETE", "/v1/account", headers=headers).status, 204)
        self.assertEqual((before, self.count(*owned)), ([1, 2, 1, 1], [0, 0, 0, 0]))

    def test_files_are_private(self) -> None:
        self.serve().sign_up("ada@tarq.example", PASSWORD)
        for path in self.state_dir.iterdir():
            self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o600, path)


if __name__ == "__main__":
    unittest.main()

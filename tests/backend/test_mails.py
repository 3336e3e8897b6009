"""Addresses that have to be confirmed, and how often a mail goes out."""

from __future__ import annotations

import sqlite3
import unittest

from support import Backend, BackendTestCase

RECOVER = "/auth/v1/recover"
TOO_EARLY = r"^For security purposes, you can only request this after \d+ seconds\.$"


class ConfirmationTest(BackendTestCase):
    @classmethod
    def setUpClass(cls) -> None:
        cls.backend = cls.enterClassContext(Backend("--control", "--confirm-email"))

    def test_sign_up_gives_no_session_until_the_address_is_confirmed(self) -> None:
        answer = self.backend.sign_up("ada@tarq.example")
        self.assertEqual((answer.status, answer.json()["email"]), (200, "ada@tarq.example"))
        self.assertNotIn("access_token", answer.json())
        refused = self.backend.sign_in("ada@tarq.example")
        self.assertEqual(refused.status, 400)
        expected = {"error": "invalid_grant", "error_description": "Email not confirmed"}
        self.assertEqual(refused.json(), expected)
        self.backend.confirm("Ada@tarq.example")
        user = self.backend.sign_in("ada@tarq.example").json()["user"]
        self.assertEqual(user["id"], answer.json()["id"])

    def test_wrong_password_does_not_tell_whether_the_address_is_confirmed(self) -> None:
        self.backend.sign_up("eve@tarq.example")
        refused = self.backend.sign_in("eve@tarq.example", "wrong").json()
        self.assertEqual(refused["error_description"], "Invalid login credentials")

    def test_second_sign_up_looks_like_the_first(self) -> None:
        first = self.backend.sign_up("taken@tarq.example").json()
        self.backend.confirm("taken@tarq.example")
        second = self.backend.sign_up("taken@tarq.example", "another password")
        self.assertEqual((second.status, second.json().keys()), (200, first.keys()))
        self.assertIsNone(second.json()["email_confirmed_at"])
        self.assertNotEqual(second.json()["id"], first["id"])
        self.assertEqual(self.backend.sign_in("taken@tarq.example").status, 200)
        self.assertEqual(self.backend.sign_in("taken@tarq.example", "another password").status, 400)

    def test_confirmation_is_not_sent_twice_in_a_row(self) -> None:
        self.assertEqual(self.backend.sign_up("often@tarq.example").status, 200)
        answer = self.backend.sign_up("often@tarq.example")
        self.assertEqual((answer.status, answer.json()["code"]), (429, 429))
        self.assertRegex(answer.json()["msg"], TOO_EARLY)

    def test_stranger_cannot_prepare_an_account_with_a_password(self) -> None:
        self.backend.sign_up("victim@tarq.example", "of the stranger")
        self.backend.issue_token("--email", "victim@tarq.example")
        self.assertEqual(self.backend.sign_in("victim@tarq.example", "of the stranger").status, 400)

    def test_unknown_address_cannot_be_confirmed(self) -> None:
        for body, status in ((b'{"email": "x@y"}', 404), (b"{}", 400), (b"[]", 400), (b"", 400)):
            answer = self.backend.request("POST", "/_control/confirm", body)
            self.assertEqual(answer.status, status)


class RecoveryTest(BackendTestCase):
    def recover(self, email: str) -> int:
        return self.backend.post_json(RECOVER, email=email).status

    def test_recovery_is_not_sent_twice_in_a_row(self) -> None:
        for name in ("ada", "eve"):
            self.backend.sign_up(f"{name}@tarq.example")
        self.assertEqual(self.recover("ada@tarq.example"), 200)
        answer = self.backend.post_json(RECOVER, email="ada@tarq.example")
        self.assertEqual((answer.status, answer.json()["code"]), (429, 429))
        self.assertRegex(answer.json()["msg"], TOO_EARLY)
        self.assertEqual(self.recover("eve@tarq.example"), 200)

    def test_recovery_is_sent_again_after_a_minute(self) -> None:
        self.backend.sign_up("patient@tarq.example")
        self.recover("patient@tarq.example")
        for seconds, status in ((50, 429), (10, 200), (0, 429)):
            database = sqlite3.connect(self.backend.state_dir / "accounts.db")
            with database:
                rewind = "UPDATE accounts SET recovery_sent_at = recovery_sent_at - ?"
                database.execute(rewind, (seconds,))
            database.close()
            with self.subTest(seconds=seconds):
                self.assertEqual(self.recover("patient@tarq.example"), status)


if __name__ == "__main__":
    unittest.main()

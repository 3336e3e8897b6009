"""Accounts with a password: sign-up, sign-in, and what is refused."""

from __future__ import annotations

import time
import unittest
import uuid

from support import EMPTY, Answer, Backend, BackendTestCase, form, tokens_of

TOKEN = "/auth/v1/token?grant_type=password"
SIGN_UP = "/auth/v1/signup"
RECOVER = "/auth/v1/recover"


class SignInTest(BackendTestCase):
    def assert_session(self, answer: Answer, email: str) -> None:
        self.assertEqual(answer.status, 200)
        session, user = answer.json(), answer.json()["user"]
        self.assertEqual((session["token_type"], session["expires_in"]), ("bearer", 3600))
        self.assertAlmostEqual(session["expires_at"], time.time() + 3600, delta=30)
        self.assertEqual((user["email"], user["aud"]), (email, "authenticated"))
        self.assertEqual(str(uuid.UUID(user["id"])), user["id"])
        answer = self.backend.post_form(form(EMPTY), token=session["access_token"])
        self.assertEqual(answer.status, 200)

    def assert_message(self, answer: Answer, status: int, message: str) -> None:
        self.assertEqual(answer.status, status)
        self.assertEqual(answer.json(), {"code": status, "msg": message})

    def assert_no_grant(self, answer: Answer, description: str) -> None:
        self.assertEqual(answer.status, 400)
        expected = {"error": "invalid_grant", "error_description": description}
        self.assertEqual(answer.json(), expected)

    def test_sign_up_gives_a_session(self) -> None:
        self.assert_session(self.backend.sign_up("new@tarq.example"), "new@tarq.example")

    def test_password_gives_a_session(self) -> None:
        user = self.backend.sign_up("ada@tarq.example").json()["user"]
        answer = self.backend.sign_in("ada@tarq.example")
        self.assert_session(answer, "ada@tarq.example")
        self.assertEqual(answer.json()["user"], user)

    def test_case_of_the_address_does_not_matter(self) -> None:
        self.assert_session(self.backend.sign_up("Upper@TARQ.example"), "upper@tarq.example")
        self.assert_session(self.backend.sign_in("uPPER@tarq.example"), "upper@tarq.example")

    def test_password_may_hold_anything(self) -> None:
        for number, password in enumerate(("pässwörter", " blank ", "a\0b\0c\0d", "\ud800" * 6)):
            with self.subTest(ascii(password)):
                email = f"any{number}@tarq.example"
                self.assertEqual(self.backend.sign_up(email, password).status, 200)
                self.assertEqual(self.backend.sign_in(email, password).status, 200)
                self.assertEqual(self.backend.sign_in(email, password + "x").status, 400)

    def test_wrong_password_and_unknown_address_look_alike(self) -> None:
        self.backend.sign_up("known@tarq.example")
        rows = (("known@tarq.example", "wrong"), ("known@tarq.example", ""), ("un@known", "x"))
        for email, password in rows:
            with self.subTest(email, password=password):
                answer = self.backend.sign_in(email, password)
                self.assert_no_grant(answer, "Invalid login credentials")

    def test_account_without_a_password_has_no_password(self) -> None:
        self.backend.issue_token("--email", "none@tarq.example")
        for password in ("", "null", "correct horse"):
            answer = self.backend.sign_in("none@tarq.example", password)
            self.assert_no_grant(answer, "Invalid login credentials")

    def test_address_is_registered_once(self) -> None:
        self.backend.sign_up("twice@tarq.example")
        for email in ("twice@tarq.example", "TWICE@tarq.example"):
            answer = self.backend.sign_up(email, "another password")
            self.assert_message(answer, 422, "User already registered")
        self.assertEqual(self.backend.sign_in("twice@tarq.example").status, 200)
        self.assertEqual(self.backend.sign_in("twice@tarq.example", "another password").status, 400)

    def test_weak_passwords_are_refused(self) -> None:
        rows = {
            "": "Signup requires a valid password",
            "short": "Password should be at least 6 characters.",
            "ü" * 37: "Password cannot be longer than 72 characters",
        }
        for password, message in rows.items():
            with self.subTest(password):
                answer = self.backend.sign_up("weak@tarq.example", password)
                self.assert_message(answer, 422, message)
        self.assertEqual(self.backend.sign_up("weak@tarq.example", "ü" * 36).status, 200)

    def test_malformed_addresses_are_refused(self) -> None:
        message = "Unable to validate email address: invalid format"
        for email in ("nobody", "a b@c", "@c", "a@", "a@-c", "a@b..c", "a@b\n", "ä@b", "a@" * 2):
            with self.subTest(email):
                self.assert_message(self.backend.sign_up(email), 422, message)
                self.assert_message(self.backend.post_json(RECOVER, email=email), 422, message)
        self.assert_message(self.backend.sign_up(f"{'a' * 250}@b.com"), 422, message)

    def test_missing_fields_are_refused(self) -> None:
        rows = (
            (TOKEN, 400, "missing email or phone"),
            (SIGN_UP, 422, "To signup, please provide your email"),
            (RECOVER, 422, "Password recovery requires an email"),
        )
        for path, status, message in rows:
            with self.subTest(path):
                self.assert_message(self.backend.post_json(path), status, message)

    def test_malformed_bodies_are_refused(self) -> None:
        bodies = (b"", b"{", b"[]", b"null", b"\xff", b"[" * 50_000, b'{"email": 1}')
        for path in (TOKEN, SIGN_UP, RECOVER):
            for body in bodies:
                with self.subTest(path, body=body[:20]):
                    answer = self.backend.request("POST", path, body, {"apikey": "x"})
                    message = "Could not parse request body as JSON"
                    self.assert_message(answer, 400, message)

    def test_unknown_grant_types_are_refused(self) -> None:
        for query in ("", "?grant_type=", "?grant_type=magic", "?grant=password"):
            with self.subTest(query):
                answer = self.backend.post_json(f"/auth/v1/token{query}", email="a@b", password="c")
                self.assertEqual(answer.status, 400)
                self.assertEqual(answer.json()["error"], "unsupported_grant_type")

    def test_nothing_goes_without_a_key(self) -> None:
        for path in (TOKEN, SIGN_UP, RECOVER):
            for key in (None, ""):
                with self.subTest(path, key=key):
                    answer = self.backend.post_json(path, key, email="a@b", password="c")
                    self.assertEqual(answer.status, 401)
                    self.assertEqual(answer.json(), {"message": "No API key found in request"})

    def test_recovery_says_nothing_about_who_is_registered(self) -> None:
        self.backend.sign_up("lost@tarq.example")
        for email in ("lost@tarq.example", "stranger@tarq.example"):
            answer = self.backend.post_json(RECOVER, email=email)
            self.assertEqual((answer.status, answer.json()), (200, {}))

    def test_log_holds_no_credential(self) -> None:
        with Backend() as backend:
            answers = [backend.sign_up("log@tarq.example", "hush-hush-1")]
            answers.append(backend.sign_in("log@tarq.example", "hush-hush-1"))
            answers.append(backend.refresh(answers[-1].json()["refresh_token"]))
            backend.sign_in("log@tarq.example", "hush-hush-2")
            backend.stop()
            tokens = [token for answer in answers for token in tokens_of(answer)]
            for secret in ("hush", "log@", "anonymous", *tokens):
                self.assertNotIn(secret, backend.log)
            self.assertEqual(backend.log.count(" ms\n"), 4, backend.log)

    def test_lifetime_governs_every_grant(self) -> None:
        with Backend("--token-lifetime", "120") as backend:
            signed_up = backend.sign_up("short@tarq.example").json()
            signed_in = backend.sign_in("short@tarq.example").json()
            refreshed = backend.refresh(signed_in["refresh_token"]).json()
            for session in (signed_up, signed_in, refreshed):
                self.assertEqual(session["expires_in"], 120)
                self.assertAlmostEqual(session["expires_at"], time.time() + 120, delta=30)


if __name__ == "__main__":
    unittest.main()

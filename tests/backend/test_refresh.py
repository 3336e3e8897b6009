"""Refresh tokens are good for one use."""

from __future__ import annotations

import unittest
from concurrent.futures import ThreadPoolExecutor

from support import EMPTY, Answer, BackendTestCase, form


class RefreshTest(BackendTestCase):
    def sign_up(self) -> dict:
        return self.backend.sign_up(f"{self.id().rpartition('.')[2]}@tarq.example").json()

    def assert_refused(self, answer: Answer, reason: str) -> None:
        self.assertEqual(answer.status, 400)
        description = f"Invalid Refresh Token: {reason}"
        expected = {"error": "invalid_grant", "error_description": description}
        self.assertEqual(answer.json(), expected)

    def test_refresh_gives_new_tokens_of_the_same_user(self) -> None:
        old = self.sign_up()
        answer = self.backend.refresh(old["refresh_token"])
        new = answer.json()
        self.assertEqual((answer.status, new["user"]), (200, old["user"]))
        self.assertNotEqual(new["refresh_token"], old["refresh_token"])
        self.assertNotEqual(new["access_token"], old["access_token"])
        for session in (old, new):
            answer = self.backend.post_form(form(EMPTY), token=session["access_token"])
            self.assertEqual(answer.status, 200)
        self.assertEqual(self.backend.refresh(new["refresh_token"]).status, 200)

    def test_second_use_is_refused_and_ends_the_session(self) -> None:
        old = self.sign_up()["refresh_token"]
        new = self.backend.refresh(old).json()["refresh_token"]
        for token in (old, new, old):
            self.assert_refused(self.backend.refresh(token), "Already Used")

    def test_reuse_leaves_other_sessions_alone(self) -> None:
        email = self.sign_up()["user"]["email"]
        first, second = (self.backend.sign_in(email).json()["refresh_token"] for _ in range(2))
        self.backend.refresh(first)
        self.assert_refused(self.backend.refresh(first), "Already Used")
        self.assertEqual(self.backend.refresh(second).status, 200)

    def test_simultaneous_uses_have_one_winner(self) -> None:
        token = self.sign_up()["refresh_token"]
        with ThreadPoolExecutor(8) as pool:
            answers = list(pool.map(self.backend.refresh, [token] * 8))
        self.assertEqual(sorted(answer.status for answer in answers), [200] + [400] * 7)

    def test_unknown_tokens_are_refused(self) -> None:
        access_token = self.sign_up()["access_token"]
        for token in ("unknown", access_token, "\ud800", "'; DROP TABLE refresh_tokens; --"):
            with self.subTest(ascii(token)):
                self.assert_refused(self.backend.refresh(token), "Refresh Token Not Found")

    def test_missing_token_is_refused(self) -> None:
        for fields in ({}, {"refresh_token": ""}):
            answer = self.backend.grant("refresh_token", **fields)
            self.assertEqual((answer.status, answer.json()["error"]), (400, "invalid_request"))


if __name__ == "__main__":
    unittest.main()

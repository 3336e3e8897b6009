"""What the owner of an account can do with it: export, removal, sign-out."""

from __future__ import annotations

import unittest
from datetime import datetime
from typing import Any

from support import EMPTY, SILENCE, Answer, BackendTestCase, form

EXPORT = ("GET", "/v1/account/export")
DELETE = ("DELETE", "/v1/account")
LOG_OUT = ("POST", "/v1/auth/logout")


class AccountTest(BackendTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.backend.set_transcript("")
        self.email = f"{self.id().rpartition('.')[2].lower()}@tarq.example"
        self.session = self.backend.sign_up(self.email).json()

    def ask(self, what: tuple[str, str], session: dict[str, Any] | None = None) -> Answer:
        token = (session or self.session)["access_token"]
        headers = {"Authorization": f"Bearer {token}", "Content-Length": "0"}
        return self.backend.request(*what, headers=headers)

    def transcribe(self, audio: bytes, session: dict[str, Any] | None = None) -> int:
        token = (session or self.session)["access_token"]
        return self.backend.post_form(form(audio), token=token).status

    def test_export_tells_what_is_kept(self) -> None:
        second = self.backend.sign_in(self.email).json()
        self.transcribe(SILENCE)
        self.transcribe(EMPTY, second)
        self.transcribe(b"no WAV")
        answer = self.ask(EXPORT)
        self.assertEqual((answer.status, answer.headers["Content-Type"]), (200, "application/json"))
        content = answer.json()
        user = self.session["user"]
        self.assertEqual((content["user_id"], content["email"]), (user["id"], self.email))
        self.assertEqual(content["created_at"], user["created_at"])
        self.assertEqual(content["provider"], "email")
        self.assertEqual(len(content["sessions"]), 2)
        self.assertEqual(content["transcriptions"]["count"], 2)
        requests = content["transcriptions"]["requests"]
        self.assertEqual([request["bytes"] for request in requests], [len(SILENCE), len(EMPTY)])
        times = [content["created_at"], *(request["received_at"] for request in requests)]
        self.assertEqual(sorted(times, key=datetime.fromisoformat), times)

    def test_export_holds_nothing_of_others_and_no_secret(self) -> None:
        other = self.backend.sign_up("other@tarq.example").json()
        self.transcribe(SILENCE, other)
        answer = self.ask(EXPORT)
        self.assertEqual(answer.json()["transcriptions"], {"count": 0, "requests": []})
        for secret in ("other@", other["user"]["id"], self.session["refresh_token"], "password"):
            self.assertNotIn(secret, answer.body.decode())

    def test_deletion_ends_everything(self) -> None:
        second = self.backend.sign_in(self.email).json()
        self.transcribe(SILENCE)
        answer = self.ask(DELETE)
        self.assertEqual((answer.status, answer.body), (204, b""))
        for session in (self.session, second):
            for what in (EXPORT, DELETE, LOG_OUT):
                self.assertEqual(self.ask(what, session).status, 401)
            self.assertEqual(self.transcribe(EMPTY, session), 401)
            refused = self.backend.refresh(session["refresh_token"])
            description = "Invalid Refresh Token: Refresh Token Not Found"
            self.assertEqual(refused.json()["error_description"], description)
        self.assertEqual(self.backend.sign_in(self.email).status, 400)

    def test_deleted_address_can_be_registered_anew(self) -> None:
        self.transcribe(SILENCE)
        self.ask(DELETE)
        new = self.backend.sign_up(self.email).json()
        self.assertNotEqual(new["user"]["id"], self.session["user"]["id"])
        content = self.ask(EXPORT, new).json()
        self.assertEqual((content["transcriptions"]["count"], len(content["sessions"])), (0, 1))
        self.assertEqual(self.transcribe(EMPTY), 401)

    def test_deletion_leaves_others_alone(self) -> None:
        other = self.backend.sign_up("bystander@tarq.example").json()
        self.ask(DELETE)
        self.assertEqual(self.transcribe(EMPTY, other), 200)
        self.assertEqual(self.backend.refresh(other["refresh_token"]).status, 200)

    def test_sign_out_revokes_the_refresh_tokens_of_the_session(self) -> None:
        second = self.backend.sign_in(self.email).json()
        refreshed = self.backend.refresh(self.session["refresh_token"]).json()
        answer = self.ask(LOG_OUT)
        self.assertEqual((answer.status, answer.body), (204, b""))
        for session in (self.session, refreshed):
            refused = self.backend.refresh(session["refresh_token"])
            self.assertEqual(refused.status, 400)
        self.assertEqual(len(self.ask(EXPORT, second).json()["sessions"]), 1)
        self.assertEqual(self.backend.refresh(second["refresh_token"]).status, 200)

    def test_second_sign_out_is_no_error(self) -> None:
        self.assertEqual([self.ask(LOG_OUT).status for _ in range(2)], [204, 204])

    def test_nothing_goes_without_a_good_token(self) -> None:
        expired = self.backend.issue_token("--token-lifetime", "-1")
        for what in (EXPORT, DELETE, LOG_OUT):
            for value in (None, "Bearer", "Bearer x", f"Bearer {expired}", "Basic eDp5"):
                with self.subTest(what[1], value=value):
                    headers = {"Content-Length": "0"}
                    if value is not None:
                        headers["Authorization"] = value
                    answer = self.backend.request(*what, headers=headers)
                    self.assertEqual(answer.status, 401)
                    self.assertTrue(answer.message)
        self.assertEqual(self.ask(EXPORT).status, 200)


if __name__ == "__main__":
    unittest.main()

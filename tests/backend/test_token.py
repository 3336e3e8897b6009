"""Only an authentic, current token opens the transcription endpoint."""

from __future__ import annotations

import base64
import hashlib
import hmac
import json
import time
import unittest
import uuid
from typing import Any

from support import EMPTY, TRANSCRIPTIONS, Backend, BackendTestCase, form

def encode(value: Any) -> str:
    data = value if isinstance(value, bytes) else json.dumps(value).encode()
    return base64.urlsafe_b64encode(data).rstrip(b"=").decode()


def claims_of(token: str) -> dict[str, Any]:
    payload = token.split(".")[1]
    return json.loads(base64.urlsafe_b64decode(payload + "=" * (-len(payload) % 4)))


def sign(secret: bytes, header: Any, claims: Any, digest: str = "sha256") -> str:
    signed = f"{encode(header)}.{encode(claims)}"
    return f"{signed}.{encode(hmac.new(secret, signed.encode(), digest).digest())}"


class TokenTest(BackendTestCase):
    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        issued = claims_of(cls.backend.token)
        cls.claims = {"sub": issued["sub"], "aud": "authenticated", "exp": time.time() + 600}

    def post(self, token: str) -> int:
        return self.backend.post_form(form(EMPTY), token=token).status

    def test_issued_token_is_accepted(self) -> None:
        self.assertEqual(self.post(self.backend.token), 200)

    def test_token_signed_elsewhere_with_the_same_secret_is_accepted(self) -> None:
        token = sign(self.backend.secret, {"typ": "JWT", "alg": "HS256"}, self.claims)
        self.assertEqual(self.post(token), 200)

    def test_untrustworthy_tokens_are_refused(self) -> None:
        secret = self.backend.secret
        hs256 = {"alg": "HS256", "typ": "JWT"}
        head, body, signature = self.backend.token.split(".")
        flipped = ("A" if signature[0] != "A" else "B") + signature[1:]
        without_expiry = {key: value for key, value in self.claims.items() if key != "exp"}
        rows = {
            "garbage": "garbage",
            "two segments": f"{head}.{body}",
            "four segments": f"{head}.{body}.{signature}.x",
            "flipped signature": f"{head}.{body}.{flipped}",
            "no signature": f"{head}.{body}.",
            "padded signature": f"{head}.{body}.{signature}=",
            "changed claims": f"{head}.{encode(self.claims)}.{signature}",
            "other secret": sign(b"x" * 32, hs256, self.claims),
            "alg none, unsigned": f"{encode({'alg': 'none'})}.{encode(self.claims)}.",
            "alg none, signed": sign(secret, {"alg": "none"}, self.claims),
            "alg HS512": sign(secret, {"alg": "HS512"}, self.claims, "sha512"),
            "critical extension": sign(secret, {**hs256, "crit": ["exp"]}, self.claims),
            "expired": self.backend.issue_token("--token-lifetime", "-1"),
            "no expiry": sign(secret, hs256, without_expiry),
            "expiry is text": sign(secret, hs256, {**self.claims, "exp": "9999999999"}),
            "expiry is true": sign(secret, hs256, {**self.claims, "exp": True}),
            "expiry is NaN": sign(secret, hs256, {**self.claims, "exp": float("nan")}),
            "other audience": sign(secret, hs256, {**self.claims, "aud": "anon"}),
            "claims are a list": sign(secret, hs256, [1]),
            "claims are not JSON": sign(secret, hs256, b"{"),
            "no account": sign(secret, hs256, {**self.claims, "sub": str(uuid.uuid4())}),
            "account is a list": sign(secret, hs256, {**self.claims, "sub": [1]}),
            "nested without end": sign(secret, hs256, b"[" * 30_000),
            "not ASCII": f"{head}.{body}.\xe9",
        }
        for name, token in rows.items():
            with self.subTest(name):
                answer = self.backend.post_form(form(EMPTY), token=token)
                self.assertEqual(answer.status, 401)
                self.assertEqual(answer.headers["WWW-Authenticate"], "Bearer")
                self.assertTrue(answer.message)

    def test_expired_token_is_told_so(self) -> None:
        token = self.backend.issue_token("--token-lifetime", "-5")
        self.assertIn("expired", self.backend.post_form(form(EMPTY), token=token).message)

    def test_request_without_bearer_token_is_refused(self) -> None:
        for value in (None, "", "Bearer", "Bearer ", f"Basic {self.backend.token}"):
            with self.subTest(repr(value)[:12]):
                headers = {} if value is None else {"Authorization": value}
                answer = self.backend.request("POST", TRANSCRIPTIONS, b"", headers)
                self.assertEqual(answer.status, 401)

    def test_token_of_another_backend_is_refused(self) -> None:
        with Backend() as other:
            self.assertEqual(self.post(other.token), 401)

    def test_signature_is_plain_hs256(self) -> None:
        signed, _, signature = self.backend.token.rpartition(".")
        digest = hmac.new(self.backend.secret, signed.encode(), hashlib.sha256).digest()
        self.assertEqual(signature, encode(digest))


if __name__ == "__main__":
    unittest.main()

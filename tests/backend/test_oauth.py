"""Sign-in by a browser: the page of consent, and the codes that it gives out."""

from __future__ import annotations

import base64
import hashlib
import sqlite3
import unittest
from urllib.parse import parse_qs, quote, urlencode, urlsplit

from support import EMPTY, Answer, BackendTestCase, form

VERIFIER = "dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk"
# From the example of RFC 7636, appendix B.
CHALLENGE = "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM"
CALLBACK = "http://127.0.0.1:45678/callback"
QUERY = {
    "provider": "google",
    "redirect_to": CALLBACK,
    "flow_type": "pkce",
    "code_challenge": CHALLENGE,
    "code_challenge_method": "S256",
}


class OAuthTestCase(BackendTestCase):
    def authorize(self, method: str, body: bytes | None = None, **changes: str) -> Answer:
        query = urlencode({**QUERY, **changes}, quote_via=quote)
        return self.backend.request(method, f"/auth/v1/authorize?{query}", body)

    def decide(self, decision: str, email: str = "ada@tarq.example", **changes: str) -> Answer:
        body = urlencode({"email": email, "decision": decision}).encode()
        return self.authorize("POST", body, **changes)

    def code(self, **changes: str) -> str:
        answer = self.decide("allow", **changes)
        self.assertEqual(answer.status, 302)
        return parse_qs(urlsplit(answer.headers["Location"]).query)["code"][0]

    def exchange(self, code: str, verifier: str = VERIFIER) -> Answer:
        return self.backend.grant("pkce", auth_code=code, code_verifier=verifier)

    def assert_message(self, answer: Answer, status: int, message: str) -> None:
        self.assertEqual(answer.status, status)
        self.assertEqual(answer.json(), {"code": status, "msg": message})


class ConsentTest(OAuthTestCase):
    def test_page_asks_for_consent(self) -> None:
        for provider, name in (("google", "Google"), ("github", "GitHub")):
            answer = self.authorize("GET", provider=provider)
            self.assertEqual((answer.status, answer.headers.get_content_type()), (200, "text/html"))
            page = answer.body.decode()
            self.assertIn(f"<title>Sign in with {name}</title>", page)
            for element in ('id="allow"', 'id="deny"', 'name="email"'):
                self.assertIn(element, page)

    def test_consent_redirects_with_a_code(self) -> None:
        answer = self.decide("allow")
        self.assertEqual(answer.status, 302)
        self.assertRegex(answer.headers["Location"], rf"^{CALLBACK}\?code=[\w-]{{32}}$")

    def test_denial_redirects_with_the_reason(self) -> None:
        for decision in ("deny", ""):
            answer = self.decide(decision)
            self.assertEqual(answer.status, 302)
            error = "error=access_denied&error_description=The%20user%20denied%20the%20request"
            self.assertEqual(answer.headers["Location"], f"{CALLBACK}?{error}")

    def test_query_of_the_redirect_is_kept_and_its_fragment_is_not(self) -> None:
        answer = self.decide("deny", redirect_to="http://[::1]:9/x?a=b#c")
        self.assertTrue(answer.headers["Location"].startswith("http://[::1]:9/x?a=b&error="))
        self.assertNotIn("#", answer.headers["Location"])

    def test_senseless_address_gets_no_code(self) -> None:
        for email in ("", "nobody", "<script>@x"):
            answer = self.decide("allow", email)
            self.assert_message(answer, 422, "Unable to validate email address: invalid format")

    def test_unknown_provider_is_refused(self) -> None:
        for provider in ("", "Google", "myspace", "<script>"):
            for method in ("GET", "POST"):
                answer = self.authorize(method, b"decision=allow&email=a@b", provider=provider)
                message = "Unsupported provider: provider is not enabled"
                self.assert_message(answer, 400, message)

    def test_redirect_goes_to_a_loopback_address_only(self) -> None:
        # fmt: off
        refused = (
            "", "/callback", "https://127.0.0.1/", "http://192.168.0.1/", "http://tarq.example/",
            "http://127.0.0.1.tarq.example/", "http://127.0.0.1@tarq.example/",
            "http://tarq.example\\@127.0.0.1/", "http://x@127.0.0.1/", "http://[::1/",
            "http://127.0.0.1:x/", "http://127.0.0.1:99999/", "http://127.0.0.1/\r\nA: b",
            "http://127.0.0.1/ü", "javascript:alert(1)", "http://localhost.tarq.example/",
        )
        # fmt: on
        message = "The redirect_to is not an http URL on a loopback address"
        for url in refused:
            with self.subTest(url):
                for method in ("GET", "POST"):
                    body = b"decision=allow&email=a@b"
                    answer = self.authorize(method, body, redirect_to=url)
                    self.assert_message(answer, 400, message)
        for url in ("http://localhost:1/", "http://[::1]/", "http://127.1.2.3:65535/x"):
            with self.subTest(url):
                self.assertEqual(self.authorize("GET", redirect_to=url).status, 200)

    def test_flow_without_proof_key_is_refused(self) -> None:
        rows = (
            {"flow_type": "implicit"},
            {"flow_type": ""},
            {"code_challenge_method": "plain"},
            {"code_challenge_method": ""},
            {"code_challenge": ""},
            {"code_challenge": "x" * 42},
            {"code_challenge": "x" * 129},
            {"code_challenge": "ü" * 43},
        )
        for changes in rows:
            with self.subTest(changes):
                self.assertEqual(self.authorize("GET", **changes).status, 400)
                answer = self.authorize("POST", b"decision=allow&email=a@b", **changes)
                self.assertEqual(answer.status, 400)


class CodeTest(OAuthTestCase):
    def test_code_and_verifier_give_a_session(self) -> None:
        answer = self.exchange(self.code(provider="github", email="octo@tarq.example"))
        self.assertEqual(answer.status, 200)
        session = answer.json()
        self.assertEqual(session["user"]["email"], "octo@tarq.example")
        self.assertEqual(session["user"]["app_metadata"]["provider"], "github")
        answer = self.backend.post_form(form(EMPTY), token=session["access_token"])
        self.assertEqual(answer.status, 200)
        self.assertEqual(self.backend.refresh(session["refresh_token"]).status, 200)

    def test_provider_leads_to_the_account_of_the_address(self) -> None:
        user = self.backend.sign_up("both@tarq.example").json()["user"]
        session = self.exchange(self.code(email="Both@tarq.example")).json()
        self.assertEqual(session["user"]["id"], user["id"])
        self.assertEqual(self.backend.sign_in("both@tarq.example").status, 200)

    def test_code_is_good_for_one_use(self) -> None:
        code = self.code()
        self.assertEqual(self.exchange(code).status, 200)
        message = "invalid flow state, no valid flow state found"
        self.assert_message(self.exchange(code), 404, message)

    def test_wrong_verifier_is_refused_and_uses_the_code_up(self) -> None:
        message = "code challenge does not match previously saved code verifier"
        for verifier in ("x" * 43, CHALLENGE, VERIFIER + "=", VERIFIER.lower(), "\ud800"):
            with self.subTest(ascii(verifier)):
                code = self.code()
                self.assert_message(self.exchange(code, verifier), 400, message)
                self.assertEqual(self.exchange(code).status, 404)

    def test_code_is_bound_to_its_own_challenge(self) -> None:
        other = base64.urlsafe_b64encode(hashlib.sha256(b"x" * 43).digest()).decode().rstrip("=")
        mine, other_code = self.code(), self.code(code_challenge=other)
        self.assertEqual(self.exchange(other_code).status, 400)
        self.assertEqual(self.exchange(mine, "x" * 43).status, 400)
        self.assertEqual(self.exchange(self.code(code_challenge=other), "x" * 43).status, 200)

    def test_code_expires(self) -> None:
        codes = [self.code(), self.code()]
        for code, seconds, status in zip(codes, (290, 20), (200, 403)):
            database = sqlite3.connect(self.backend.state_dir / "accounts.db")
            with database:
                database.execute("UPDATE codes SET expires_at = expires_at - ?", (seconds,))
            database.close()
            self.assertEqual(self.exchange(code).status, status)

    def test_missing_fields_are_refused(self) -> None:
        message = "invalid request: both auth code and code verifier should be non-empty"
        for fields in ({}, {"auth_code": "x"}, {"code_verifier": "x"}, {"code": "x"}):
            with self.subTest(fields):
                self.assert_message(self.backend.grant("pkce", **fields), 400, message)


if __name__ == "__main__":
    unittest.main()

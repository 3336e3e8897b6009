import http.client
import json
import unittest
from urllib.parse import urlsplit

from harness.backend import Backend
from harness.process import DeadlineExceeded
from harness.session import Session


class BackendTest(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(Session())
        self.backend = Backend(self.session)

    def fetch(self, path: str = "/something", **fields: str) -> int:
        """The status of a request, a POST where there are fields."""
        return self.ask(path, **fields)[0]

    def ask(self, path: str, **fields: str) -> tuple[int, dict]:
        connection = http.client.HTTPConnection(urlsplit(self.backend.url).netloc, timeout=30)
        self.addCleanup(connection.close)
        body = json.dumps(fields) if fields else None
        connection.request("POST" if fields else "GET", path, body, {"apikey": "anonymous"})
        response = connection.getresponse()
        return response.status, json.loads(response.read() or "{}")

    def sign_in(self) -> tuple[int, dict]:
        password = {"email": "ada@tarq.example", "password": "correct horse"}
        return self.ask("/auth/v1/token?grant_type=password", **password)

    def restart(self) -> None:
        self.backend.stop()
        self.backend.restart()

    def test_session_is_issued_into_a_file(self):
        keys = self.session.home / "keys.json"
        self.backend.issue_session(keys)
        self.assertTrue(json.loads(keys.read_text())["accessToken"])

    def test_scripted_reply_is_given_once(self):
        self.backend.script([{"status": 418, "body": "{}"}])
        self.assertEqual([self.fetch(), self.fetch()], [418, 404])

    def test_reply_for_a_path_waits_for_it(self):
        self.backend.script([{"status": 418}], path="/later")
        statuses = [self.fetch(), self.fetch("/later"), self.fetch("/later")]
        self.assertEqual(statuses, [404, 418, 404])

    def test_requests_of_a_path_are_told_with_their_bodies(self):
        self.fetch()
        self.fetch("/that?a=b", name="grüße")
        (request,) = self.backend.requests(wait_for=1, path="/that?a=b")
        self.assertEqual(json.loads(request["body"]), {"name": "grüße"})
        self.assertEqual(self.backend.requests(path="/that"), [request])

    def test_account_can_sign_in(self):
        self.backend.create_account("ada@tarq.example", "correct horse")
        (account,) = self.backend.accounts()
        self.assertEqual(account["email"], "ada@tarq.example")
        self.assertEqual(self.sign_in()[0], 200)

    def test_address_can_be_confirmed(self):
        self.backend.confirm_email = True
        self.restart()
        self.backend.create_account("ada@tarq.example", "correct horse")
        self.assertEqual(self.sign_in()[0], 400)
        self.backend.confirm("ada@tarq.example")
        self.assertEqual(self.sign_in()[0], 200)

    def test_lifetime_of_tokens_changes_with_a_restart(self):
        self.backend.create_account("ada@tarq.example", "correct horse")
        lifetimes = [self.sign_in()[1]["expires_in"]]
        self.backend.token_lifetime = 30
        self.restart()
        lifetimes.append(self.sign_in()[1]["expires_in"])
        self.assertEqual(lifetimes, [3600, 30])

    def test_port_can_be_chosen(self):
        self.backend.stop()
        port = urlsplit(self.backend.url).port
        self.assertEqual(Backend(self.session, port=port).url, self.backend.url)

    def test_crash_reports_are_kept(self):
        self.fetch("/v1/crash-report", message="oh no")
        self.assertEqual(self.backend.crash_reports(), [b'{"message": "oh no"}'])

    def test_requests_are_told(self):
        self.fetch()
        (request,) = self.backend.requests(wait_for=1, answered=True)
        self.assertEqual((request["method"], request["path"]), ("GET", "/something"))
        self.backend.forget_requests()
        self.assertEqual(self.backend.requests(), [])

    def test_missing_request_is_a_failure(self):
        with self.assertRaisesRegex(DeadlineExceeded, "for 1 requests"):
            self.backend.requests(wait_for=1, timeout=0.05)

    def test_transcript_is_set_and_reset(self):
        self.backend.set_transcript("fixed")
        self.backend.set_transcript(None)


if __name__ == "__main__":
    unittest.main()

"""Scripted replies, the journal and fixed transcripts."""

from __future__ import annotations

import base64
import hashlib
import http.client
import json
import threading
import time
import unittest
from concurrent.futures import Future, ThreadPoolExecutor

from support import DEADLINE_S, EMPTY, SILENCE, TRANSCRIPTIONS, Answer, Backend, BackendTestCase


class RepliesTest(BackendTestCase):
    def get(self) -> Answer:
        return self.backend.request("GET", "/anything")

    def test_replies_are_played_in_order_and_then_the_server_is_itself_again(self) -> None:
        self.backend.script({"status": 500, "body": "no JSON"}, {"body": {"text": "ü"}})
        self.backend.script({"status": 429, "body": None, "headers": {"Retry-After": "7"}})
        first, second, third, fourth = (self.get() for _ in range(4))
        self.assertEqual((first.status, first.body), (500, b"no JSON"))
        self.assertEqual((second.status, second.body), (200, '{"text": "ü"}'.encode()))
        self.assertEqual(second.headers["Content-Type"], "application/json")
        self.assertEqual((third.status, third.body), (429, b"null"))
        self.assertEqual(third.headers["Retry-After"], "7")
        self.assertEqual(fourth.status, 404)

    def test_reply_bypasses_the_token_check(self) -> None:
        self.backend.script({"body": "x"})
        self.assertEqual(self.backend.request("POST", TRANSCRIPTIONS, b"").status, 200)
        self.assertEqual(self.backend.request("POST", TRANSCRIPTIONS, b"").status, 401)

    def test_reply_can_wait_for_its_path(self) -> None:
        self.backend.script({"path": "/later", "status": 500}, {"status": 418})
        self.assertEqual(self.get().status, 418)
        self.assertEqual(self.get().status, 404)
        self.assertEqual(self.backend.request("GET", "/later").status, 500)
        self.assertEqual(self.backend.request("GET", "/later").status, 404)

    def test_path_of_a_reply_may_have_a_query(self) -> None:
        self.backend.script({"path": "/a", "status": 500}, {"path": "/a?b=1", "status": 501})
        for path, status in (("/a?b=2", 500), ("/a", 404), ("/a?b=1", 501), ("/a?b=1", 404)):
            self.assertEqual(self.backend.request("GET", path).status, status)

    def test_reply_can_wait_for_its_method(self) -> None:
        self.backend.script({"method": "DELETE", "path": "/anything", "status": 500})
        self.assertEqual(self.get().status, 404)
        self.assertEqual(self.backend.request("DELETE", "/anything").status, 500)

    def test_replies_of_a_path_are_played_in_order(self) -> None:
        self.backend.script(*({"path": "/anything", "body": text} for text in "abc"))
        self.assertEqual([self.get().body for _ in range(3)], [b"a", b"b", b"c"])

    def test_endpoints_of_every_kind_can_be_scripted(self) -> None:
        rows = (
            ("POST", "/auth/v1/token?grant_type=password"),
            ("GET", "/auth/v1/authorize"),
            ("DELETE", "/v1/account"),
            ("POST", "/v1/crash-report"),
            ("GET", "/v1/version"),
        )
        for method, path in rows:
            with self.subTest(path):
                self.backend.script({"method": method, "path": path, "status": 418})
                self.assertEqual(self.backend.request(method, path, b"").status, 418)

    def test_raw_bytes_and_content_type(self) -> None:
        headers = {"content-type": "text/html"}
        self.backend.script({"body_base64": "/wD+", "headers": headers}, {"status": 204})
        first, second = self.get(), self.get()
        self.assertEqual((first.body, first.headers["Content-Type"]), (b"\xff\0\xfe", "text/html"))
        self.assertEqual((second.status, second.body), (204, b""))

    def test_length_that_lies_cuts_the_answer_short(self) -> None:
        self.backend.script({"body": "short", "headers": {"Content-Length": "100"}})
        with self.assertRaises(http.client.IncompleteRead):
            self.get()

    def test_dropped_connection_has_no_answer(self) -> None:
        self.backend.script({"drop": True})
        with self.assertRaises(ConnectionResetError):
            self.get()
        (entry,) = self.backend.journal("?wait_for=1&answered=1")
        self.assertIsNone(entry["status"])
        self.assertIsNotNone(entry["answered_at"])

    def test_delay_precedes_the_answer(self) -> None:
        self.backend.script({"delay_ms": 150, "body": "late"})
        self.assertEqual(self.get().body, b"late")
        (entry,) = self.backend.journal()
        self.assertGreaterEqual(entry["answered_at"] - entry["received_at"], 149)

    def test_recognise_goes_on_with_the_normal_handling(self) -> None:
        self.backend.set_transcript("normal")
        self.backend.script({"recognise": True, "delay_ms": 1}, {"recognise": True})
        self.assertEqual(self.backend.transcribe(SILENCE).json(), {"text": "normal"})
        self.assertEqual(self.backend.post_form(b"", token="bad").status, 401)

    def test_refused_body_does_not_use_up_a_reply(self) -> None:
        self.backend.script({"status": 418})
        with self.backend.connect() as connection:
            connection.sendall(b"POST / HTTP/1.1\r\n\r\n")
            self.assertIn(b" 411 ", connection.recv(1000))
        self.assertEqual(self.get().status, 418)

    def test_request_in_flight_is_listed_and_ends_with_the_server(self) -> None:
        with Backend("--control") as backend, ThreadPoolExecutor() as pool:
            backend.script({"delay_ms": 600_000})
            answer = pool.submit(backend.request, "GET", "/")
            (entry,) = backend.journal("?wait_for=1&timeout_ms=30000")
            self.assertEqual((entry["status"], entry["answered_at"]), (None, None))
            waiter = pool.submit(backend.journal, "?wait_for=2&timeout_ms=600000")
            self.assertEqual(backend.stop(), 0)
            self.assertIsInstance(answer.exception(DEADLINE_S), ConnectionError)
            waiter.exception(DEADLINE_S)  # answered or not, it is over
            self.assertIn("GET / dropped", backend.log)

    def test_senseless_replies_are_refused(self) -> None:
        # fmt: off
        rows = (
            {}, "x", [1], [{"sattus": 200}], [{"status": "200"}], [{"status": 100}],
            [{"status": True}], [{"delay_ms": -1}], [{"delay_ms": "1"}], [{"drop": 1}],
            [{"recognise": "yes"}], [{"path": 1}], [{"method": ["GET"]}], [{"headers": []}],
            [{"headers": {"a": 1}}], [{"headers": {"a": "b\r\nc: d"}}], [{"headers": {"a b": "c"}}],
            [{"body_base64": "?"}], [{"body_base64": 1}], [{"status": 500}, {"status": 0}],
        )
        # fmt: on
        bodies = [json.dumps(row).encode() for row in rows] + [b"", b"[", b"[" * 50_000, b"\xff"]
        for body in bodies:
            with self.subTest(body[:40]):
                answer = self.backend.request("POST", "/_control/replies", body)
                self.assertEqual(answer.status, 400)
                self.assertTrue(answer.message)
        self.assertEqual(self.get().status, 404)

    def test_transcript_is_null_or_a_text(self) -> None:
        for value, status in ((None, 204), ({"text": None}, 204), ("x", 400), ({"text": 1}, 400)):
            with self.subTest(repr(value)):
                body = json.dumps(value).encode()
                answer = self.backend.request("PUT", "/_control/transcript", body)
                self.assertEqual(answer.status, status)


class AccountsTest(BackendTestCase):
    def test_accounts_are_listed(self) -> None:
        user = self.backend.sign_up("Ada@tarq.example").json()["user"]
        accounts = self.backend.request("GET", "/_control/accounts").json()
        (ada,) = [account for account in accounts if account["id"] == user["id"]]
        expected = {
            "id": user["id"],
            "email": "ada@tarq.example",
            "provider": "email",
            "created_at": user["created_at"],
            "confirmed_at": user["email_confirmed_at"],
        }
        self.assertEqual(ada, expected)


class JournalTest(BackendTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.pool = ThreadPoolExecutor()
        self.addCleanup(self.pool.shutdown)

    def test_request_is_described(self) -> None:
        before = time.monotonic() * 1000
        self.backend.transcribe(EMPTY, language="en")
        (entry,) = self.backend.journal()
        self.assertEqual((entry["method"], entry["path"]), ("POST", TRANSCRIPTIONS))
        self.assertEqual(entry["headers"]["Authorization"], f"Bearer {self.backend.token}")
        self.assertEqual(entry["status"], 200)
        self.assertEqual(entry["body_size"], int(entry["headers"]["Content-Length"]))
        self.assertLessEqual(before, entry["received_at"])
        self.assertLessEqual(entry["received_at"], entry["answered_at"])
        model, response_format, language, file = entry["parts"]
        self.assertEqual((model["name"], model["text"]), ("model", "whisper-large-v3-turbo"))
        self.assertEqual(response_format["text"], "json")
        self.assertEqual((language["name"], language["text"]), ("language", "en"))
        sha256 = hashlib.sha256(EMPTY).hexdigest()
        expected = ("file", "tarq-linux-1.wav", "audio/wav", 44, sha256)
        self.assertEqual(tuple(file.values()), expected)

    def test_header_names_have_one_spelling(self) -> None:
        self.backend.request("GET", "/?q=1", headers={"x-TEST-name": "1"})
        (entry,) = self.backend.journal()
        self.assertEqual((entry["headers"]["X-Test-Name"], entry["path"]), ("1", "/?q=1"))
        self.assertEqual(entry["parts"], [])

    def test_body_is_told_unless_it_is_a_form(self) -> None:
        for body in (b"", b'{"a": "\xc3\xbc"}', b"\xff\0"):
            self.backend.request("POST", "/body", body)
        self.backend.transcribe(EMPTY)
        *bodies, form = [entry["body_base64"] for entry in self.backend.journal()]
        expected = [b"", b'{"a": "\xc3\xbc"}', b"\xff\0"]
        self.assertEqual([base64.b64decode(body) for body in bodies], expected)
        self.assertIsNone(form)

    def test_requests_of_one_path_can_be_asked_for(self) -> None:
        for path in ("/a?x=1", "/b", "/a?x=2"):
            self.backend.request("GET", path)

        def paths(query: str) -> list[str]:
            return [entry["path"] for entry in self.backend.journal(query)]

        self.assertEqual(paths("?path=/a"), ["/a?x=1", "/a?x=2"])
        self.assertEqual(paths("?path=/a%3Fx%3D2"), ["/a?x=2"])
        self.assertEqual(paths("?path=/c"), [])
        self.assertEqual(paths("?path=/b&wait_for=1&timeout_ms=30000"), ["/b"])

    def test_wait_counts_the_path_only(self) -> None:
        query = f"?path=/second&wait_for=1&timeout_ms={DEADLINE_S * 2000}"
        waiting = self.pool.submit(self.backend.journal, query)
        self.backend.request("GET", "/first")
        self.assertFalse(waiting.done())
        self.backend.request("GET", "/second")
        self.assertEqual([entry["path"] for entry in waiting.result()], ["/second"])

    def test_wait_can_be_for_the_answer(self) -> None:
        self.backend.script({"delay_ms": 50})
        answer = self.pool.submit(self.backend.request, "GET", "/slow")
        (entry,) = self.backend.journal("?wait_for=1&answered=1&timeout_ms=30000")
        self.assertEqual((entry["status"], answer.result().status), (200, 200))

    def test_wait_ends_with_the_event(self) -> None:
        # The timeout is longer than the client's own deadline.
        query = f"?wait_for=2&timeout_ms={DEADLINE_S * 2000}"
        waiting: Future[list] = self.pool.submit(self.backend.journal, query)
        for path in ("/first", "/second"):
            self.backend.request("GET", path)
        self.assertEqual([entry["path"] for entry in waiting.result()], ["/first", "/second"])

    def test_wait_ends_with_its_timeout(self) -> None:
        self.assertEqual(self.backend.journal("?wait_for=1&timeout_ms=1"), [])

    def test_senseless_wait_is_refused(self) -> None:
        for query in ("?wait_for=x", "?wait_for=-1", "?timeout_ms=1.5", "?wait_for="):
            with self.subTest(query):
                answer = self.backend.request("GET", f"/_control/requests{query}")
                self.assertEqual(answer.status, 400)

    def test_delete_clears_journal_and_script(self) -> None:
        self.backend.script({"status": 500}, {"status": 500})
        self.backend.request("GET", "/")
        self.backend.forget()
        self.assertEqual(self.backend.journal(), [])
        self.assertEqual(self.backend.request("GET", "/").status, 404)

    def test_fixed_transcript_does_not_bypass_the_checks(self) -> None:
        self.backend.set_transcript("fixed")
        self.assertEqual(self.backend.transcribe(SILENCE).json(), {"text": "fixed"})
        self.assertEqual(self.backend.transcribe(b"no WAV").status, 415)
        self.assertEqual(self.backend.post_form(b"").status, 400)
        self.assertEqual(self.backend.post_form(b"", token="bad").status, 401)

    def test_concurrent_requests_are_all_listed(self) -> None:
        barrier = threading.Barrier(8)

        def post(_: int) -> int:
            barrier.wait(DEADLINE_S)
            return self.backend.transcribe(EMPTY).status

        with ThreadPoolExecutor(8) as pool:
            self.assertEqual(list(pool.map(post, range(8))), [200] * 8)
        self.assertEqual([entry["status"] for entry in self.backend.journal()], [200] * 8)


if __name__ == "__main__":
    unittest.main()

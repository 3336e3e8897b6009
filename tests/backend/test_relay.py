"""The relay forwards recordings to a second backend and keeps its key to itself."""

from __future__ import annotations

import hashlib
import json
import unittest

from support import SILENCE, TRANSCRIPTIONS, Backend


class RelayTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls) -> None:
        cls.upstream = cls.enterClassContext(Backend("--control"))
        cls.key = cls.upstream.token
        # A slash at the end of the URL must do no harm.
        relay = Backend("--relay", f"{cls.upstream.url}/", env={"TARQ_RELAY_KEY": cls.key})
        cls.relay = cls.enterClassContext(relay)

    def setUp(self) -> None:
        self.upstream.forget()
        self.upstream.set_transcript("from “upstream”")

    def tearDown(self) -> None:
        for backend in (self.relay, self.upstream):
            self.assertNotIn(self.key, backend.log)
            self.assertNotIn("upstream”", backend.log)
            self.assertNotIn("unexpected", backend.log)

    def test_recording_is_forwarded_with_the_key(self) -> None:
        for fields in ({}, {"language": "de"}):
            with self.subTest(fields):
                self.upstream.forget()
                answer = self.relay.transcribe(SILENCE, **fields)
                self.assertEqual(answer.status, 200)
                self.assertEqual(answer.json(), {"text": "from “upstream”"})
                (entry,) = self.upstream.journal()
                self.assertEqual(entry["path"], TRANSCRIPTIONS)
                self.assertEqual(entry["headers"]["Authorization"], f"Bearer {self.key}")
                *texts, file = entry["parts"]
                expected = {"model": "whisper-large-v3-turbo", "response_format": "json", **fields}
                self.assertEqual({part["name"]: part["text"] for part in texts}, expected)
                self.assertEqual(file["sha256"], hashlib.sha256(SILENCE).hexdigest())
                self.assertEqual(file["filename"], "tarq-linux-1.wav")
                self.assertEqual(file["content_type"], "audio/wav")

    def test_caller_needs_a_token_of_the_relay(self) -> None:
        self.assertEqual(self.relay.post_form(b"", token=self.key).status, 401)
        self.assertEqual(self.upstream.journal(), [])

    def test_upstream_errors_become_502(self) -> None:
        echo = {"error": {"message": f"bad key {self.key}"}}
        rows = {
            "401 that repeats the key": {"status": 401, "body": echo},
            "500": {"status": 500, "body": echo},
            "redirect": {"status": 302, "headers": {"Location": f"{self.upstream.url}/else"}},
            "no JSON": {"body": "<html>"},
            "no UTF-8": {"body_base64": "/w=="},
            "list": {"body": [1]},
            "no text": {"body": {"txt": "x"}},
            "text is a number": {"body": {"text": 1}},
            "dropped": {"drop": True},
            "cut short": {"body": '{"text": "x"}', "headers": {"Content-Length": "99"}},
        }
        for name, reply in rows.items():
            with self.subTest(name):
                self.upstream.forget()
                self.upstream.script(reply)
                answer = self.relay.transcribe(SILENCE)
                self.assertEqual(answer.status, 502)
                self.assertTrue(answer.message)
                self.assertNotIn(self.key, answer.message)
                self.assertEqual(len(self.upstream.journal()), 1)

    def test_too_many_requests_passes_through(self) -> None:
        self.upstream.script({"status": 429, "body": "slow down"})
        self.assertEqual(self.relay.transcribe(SILENCE).status, 429)

    def test_unreachable_upstream_is_502(self) -> None:
        with Backend() as gone:
            url = gone.url
        with Backend("--relay", url) as relay:
            self.assertEqual(relay.transcribe(SILENCE).status, 502)

    def test_without_a_key_there_is_no_authorization(self) -> None:
        with Backend("--relay", self.upstream.url, env={"TARQ_RELAY_KEY": ""}) as relay:
            self.assertEqual(relay.transcribe(SILENCE).status, 502)
            (entry,) = self.upstream.journal()
            self.assertNotIn("Authorization", entry["headers"])
            self.assertEqual(entry["status"], 401)

    def test_any_text_passes_unchanged(self) -> None:
        for text in ("", "Zażółć 👍 \n\t\"\\", "x" * 100_000):
            with self.subTest(text[:10]):
                self.upstream.script({"body": json.dumps({"text": text})})
                self.assertEqual(self.relay.transcribe(SILENCE).json(), {"text": text})

    def test_unusable_settings_are_refused_without_showing_the_key(self) -> None:
        for url, key in (("file:///etc/passwd", "hidden"), (self.upstream.url, "hid\nden")):
            with self.subTest(url):
                with self.assertRaisesRegex(AssertionError, "did not start") as caught:
                    Backend("--relay", url, env={"TARQ_RELAY_KEY": key})
            self.assertNotIn("hid", str(caught.exception))
            self.assertNotIn("Traceback", str(caught.exception))


if __name__ == "__main__":
    unittest.main()

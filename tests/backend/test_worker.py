"""Crash reports go in, the newest version comes out."""

from __future__ import annotations

import base64
import re
import unittest
from pathlib import Path

from support import Backend, BackendTestCase

PROJECT = Path(__file__).resolve().parents[2] / "CMakeLists.txt"


class CrashReportTest(BackendTestCase):
    def reports(self) -> list[bytes]:
        answer = self.backend.request("GET", "/_control/crash-reports")
        return [base64.b64decode(report) for report in answer.json()]

    def test_any_body_is_kept_as_it_came(self) -> None:
        bodies = [b'{"app":"tarq-linux"}', b'{"message":"a\nb\\', b"", b"\xff\0", b"x" * 100_000]
        before = len(self.reports())
        for body in bodies:
            answer = self.backend.request("POST", "/v1/crash-report", body)
            self.assertEqual((answer.status, answer.body), (204, b""))
        self.assertEqual(self.reports()[before:], bodies)

    def test_report_does_not_reach_the_log(self) -> None:
        self.backend.request("POST", "/v1/crash-report", b"the user said")
        self.assertNotIn("the user said", self.backend.log)


class VersionTest(unittest.TestCase):
    def latest(self, *options: str) -> dict[str, str]:
        with Backend(*options) as backend:
            answer = backend.request("GET", "/v1/version")
            self.assertEqual((answer.status, answer.json().keys()), (200, {"latest"}))
            return answer.json()["latest"]["linux"]

    def test_source_tree_is_the_newest_version(self) -> None:
        version = re.search(r"VERSION ([0-9.]+)\n", PROJECT.read_text())[1]
        url = "https://tarq.example/download"
        self.assertEqual(self.latest(), {"version": version, "download_url": url})

    def test_version_can_be_chosen(self) -> None:
        options = ("--latest-version", "9.8.7-rc1", "--download-url", "http://127.0.0.1/x")
        expected = {"version": "9.8.7-rc1", "download_url": "http://127.0.0.1/x"}
        self.assertEqual(self.latest(*options), expected)


if __name__ == "__main__":
    unittest.main()

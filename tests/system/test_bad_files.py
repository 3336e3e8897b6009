"""Broken, huge and misplaced files in the home directory."""

import json
import unittest

from harness.testcase import TarqTestCase
from tests.system.support import DEFAULT_FILES, NO_INSTANCE, CommandLineTestCase

BROKEN = {
    "nothing": b"",
    "random bytes": bytes(range(255, -1, -1)) * 16,
    "zeros": bytes(4096),
    "a cut object": b'{"microphoneDeviceId": "x", "accessToken": "eyJ',
    "an array": b"[]",
    "a string": b'"text"',
    "null": b"null",
    "a tower of brackets": 100_000 * b"[",
    "five megabytes of text": 5_000_000 * b"x",
    "invalid UTF-8": b'{"transcriptionLanguage": "\xff"}',
}
WRONG_TYPES = {
    "settings.json": {"microphoneDeviceId": 7, "transcriptionLanguage": ["de"], "showInTray": "no"},
    "keys.json": {"accessToken": {}, "refreshToken": 1, "expiresAt": "soon", "userEmail": None},
    "history.json": {"entries": [1, "x", None, {"text": 5}, {"id": "x", "createdAt": []}]},
}


class BadFilesTest(CommandLineTestCase):
    def test_files_that_hold_no_object_are_replaced_silently(self):
        for what, content in BROKEN.items():
            with self.subTest(what):
                for name in DEFAULT_FILES:
                    self.write(self.config / name, content)
                self.assertEqual(self.end_tarq(self.start_tarq()), [])
                for name, default in DEFAULT_FILES.items():
                    self.assertEqual((self.config / name).read_text(), default, name)

    def test_objects_of_any_content_and_size_are_kept(self):
        huge = {"padding": 5_000_000 * "x"}
        for what, additions in {"wrong types": {}, "huge": huge}.items():
            with self.subTest(what):
                contents = {
                    name: json.dumps({**value, **additions}) for name, value in WRONG_TYPES.items()
                }
                for name, content in contents.items():
                    self.write(self.config / name, content).chmod(0o644)
                self.assertEqual(self.end_tarq(self.start_tarq()), [])
                for name, content in contents.items():
                    self.assertEqual((self.config / name).read_text(), content, name)
                    self.assertEqual((self.config / name).stat().st_mode & 0o777, 0o600)

    def test_environment_file_of_any_content_is_harmless(self):
        for what, content in {
            **BROKEN,
            "lines of rubbish": b"=\n==\n a b = c\n\xff=\xff\n\0=\0\nTARQ\0X=1\n#\n" * 1000,
            "one long line": b"TARQ_LONG=" + 5_000_000 * b"x",
        }.items():
            with self.subTest(what):
                self.write(self.config / ".env", content)
                self.assertEqual(self.end_tarq(self.start_tarq()), [])

    def test_token_file_of_an_earlier_run_is_replaced(self):
        for content in (b"", bytes(4096), 1_000_000 * b"x"):
            with self.subTest(content[:8]):
                self.write(self.config / "ipc-token", content)
                running = self.start_tarq()
                self.assertEqual(len((self.config / "ipc-token").read_bytes()), 36)
                self.check(self.run_tarq("--toggle"))
                self.assertEqual(self.end_tarq(running), [])


class FileInTheWayTest(CommandLineTestCase):
    def check_warned(self, log: list[str], directory) -> None:
        self.assertEqual(log, [f"[1] Failed to create directory: {directory} (?:0)"])

    def test_without_a_config_directory_it_runs_but_cannot_be_toggled(self):
        self.write(self.config, "a file where the directory has to be")
        running = self.start_tarq()
        second = self.run_tarq("--toggle")
        warning = f"[1] Failed to create directory: {self.config} (?:0)\n"
        self.check(second, status=1, stderr=warning + NO_INSTANCE)
        self.check_warned(self.end_tarq(running), self.config)
        self.assertEqual(self.config.read_text(), "a file where the directory has to be")

    def test_without_a_config_directory_the_help_is_still_shown(self):
        self.write(self.config.parent, "a file where the directory has to be")
        done = self.run_tarq("--help")
        self.assertEqual(done.returncode, 0)
        warning, help_text = done.stderr.split("\n", 1)
        self.check_warned([warning], self.config)
        self.assertTrue(help_text.startswith("[4] Tarq"), help_text)

    def test_without_a_spool_directory_it_can_be_toggled(self):
        self.write(self.config / "spool", "")
        running = self.start_tarq()
        warning = f"[1] Failed to create directory: {self.config / 'spool'} (?:0)\n"
        self.check(self.run_tarq("--toggle"), stderr=warning)
        self.check_warned(self.end_tarq(running), self.config / "spool")


class CacheInTheWayTest(TarqTestCase):
    def test_recording_is_refused_until_the_cache_directory_can_be_made(self):
        self.expected_log = [
            rf"^\[1\] Failed to create cache directory: {self.tarq.cache} \(\?:0\)$"
        ]
        self.tarq.cache.parent.write_text("a file where the directory has to be")
        self.toggle()
        self.tarq.process.wait_for_line("Failed to create cache directory")
        self.tarq.cache.parent.unlink()
        self.start_recording()
        self.assertEqual(self.tarq.cache.stat().st_mode & 0o777, 0o700)


if __name__ == "__main__":
    unittest.main()

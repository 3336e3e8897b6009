"""What the running program logs, and what it reports to its worker."""

import json
import signal
import sys
import unittest

from harness import unable_to_listen
from harness.backend import Backend
from harness.desktop import VirtualDesktop
from harness.interface import Interface
from harness.log import INFO, messages
from harness.testcase import TarqTestCase, built_in_worker
from tests.system.support import CommandLineTestCase

UNABLE_TO_LISTEN = [sys.executable, unable_to_listen.__file__]

CANNOT_LISTEN = "OAuth: cannot start any local TCP listener: The address is not available"
CANNOT_SIGN_IN = (
    "Cannot start local sign-in listener. Check firewall (allow loopback) or try "
    "email/password sign-in."
)


class ReportTest(TarqTestCase):
    """Nobody can sign in by browser here, which is what the program calls critical."""

    starts_tarq = False
    backend_is_built_in_worker = True

    def make_session(self):
        return VirtualDesktop(accessibility=True)

    def setUp(self):
        super().setUp()
        self.interface = Interface(self.desktop)
        self.expected_log = [CANNOT_LISTEN, "failed to bind", "Auth failed"]

    def start_at_login(self, **settings) -> None:
        self.tarq.config.mkdir(parents=True, mode=0o700)
        (self.tarq.config / "settings.json").write_text(json.dumps(settings))
        self.start_tarq(signed_in=False, wrapper=UNABLE_TO_LISTEN)
        self.interface.wait_for_window("Tarq — Sign In")
        self.interface.wait_for_no_window("Tarq")  # the splash, which lies above it

    def fail_to_sign_in(self) -> None:
        self.interface.click("Continue with Google")
        self.interface.wait_for(CANNOT_SIGN_IN)

    def test_critical_message_arrives_byte_for_byte(self):
        self.start_at_login()
        self.fail_to_sign_in()
        [request] = self.backend.requests(wait_for=1)
        self.assertEqual((request["method"], request["path"]), ("POST", "/v1/crash-report"))
        self.assertEqual(request["headers"]["Content-Type"], "application/json")
        report = (
            '{"app":"tarq-linux","version":"0.1.1","platform":"linux",'
            f'"message":"{CANNOT_LISTEN}","stack":"?:0"' + "}"
        )
        self.assertEqual(self.backend.crash_reports(), [report.encode()])

    def test_levels_stand_in_the_log(self):
        self.start_at_login()
        self.fail_to_sign_in()
        lines = [m.text for m in messages(self.tarq.process.lines) if m.level != INFO]
        self.assertEqual(
            lines,
            [
                "[1] OAuth: failed to bind 127.0.0.1 — trying ::1 ... (?:0)",
                "[1] OAuth: failed to bind ::1 — trying any local ... (?:0)",
                f"[2] {CANNOT_LISTEN} (?:0)",
                f"[1] Auth failed: {CANNOT_SIGN_IN} (?:0)",
            ],
        )

    def test_every_critical_message_is_reported(self):
        self.start_at_login()
        for count in (1, 2, 3):
            self.fail_to_sign_in()
            self.backend.requests(wait_for=count)
        self.assertEqual(len(set(self.backend.crash_reports())), 1)

    def test_refused_telemetry_keeps_no_report_back(self):
        self.start_at_login(telemetryOptIn=False)
        self.fail_to_sign_in()
        self.backend.requests(wait_for=1)
        self.assertEqual(len(self.backend.crash_reports()), 1)

    def test_absent_worker_is_told_nowhere(self):
        self.start_at_login()
        self.backend.stop()
        self.fail_to_sign_in()
        self.backend.restart()
        self.fail_to_sign_in()
        self.backend.requests(wait_for=1)
        self.assertEqual(len(self.backend.crash_reports()), 1)


class LastMessageTest(CommandLineTestCase):
    """What a program says right before it ends."""

    def setUp(self):
        super().setUp()
        self.backend = Backend(self.session)
        self.session.env |= built_in_worker(self.session, self.backend)

    def test_report_of_a_start_that_fails_does_not_arrive(self):
        done = self.run_tarq()
        self.assertEqual(done.returncode, 1)
        self.assertTrue(done.stderr.startswith("[2] SUPABASE_URL"), done.stderr)
        self.assertEqual(self.backend.requests(), [])

    def test_fatal_message_aborts_at_once(self):
        done = self.run_tarq(env={**self.CONFIGURED, "QT_QPA_PLATFORM": "nonsense"})
        self.assertEqual(done.returncode, -signal.SIGABRT, done.stderr)
        levels = [message.level for message in messages(done.stderr.splitlines())]
        self.assertIn(3, levels, done.stderr)
        self.assertEqual(done.stdout, "")
        self.assertEqual(self.backend.requests(), [])

    def test_text_is_utf_8_in_every_locale(self):
        for locale in ("C", "C.UTF-8", "POSIX"):
            with self.subTest(locale):
                done = self.run_tarq("--help", env={"LANG": locale})
                # Since Qt 6.5 it tells first that it has changed the locale.
                self.assertRegex(done.stderr, r"(?m)^\[4\] Tarq — Floating voice-to-text")


if __name__ == "__main__":
    unittest.main()

"""Signing in through the login window, by real keys and clicks."""

import json
import unittest

from harness.bubble import Bubble
from harness.desktop import VirtualDesktop
from harness.interface import Interface
from harness.testcase import DictationTestCase, TarqTestCase

LOGIN = "Tarq — Sign In"
EMAIL = "me@example.org"
PASSWORD = "correct horse battery"


class LoginTestCase(DictationTestCase):
    """Tarq at its login window; no test ends with a password in the log."""

    starts_tarq = False

    def setUp(self):
        super().setUp()
        self.spoken.append(PASSWORD)
        self.interface = Interface(self.desktop)

    def make_session(self):
        return VirtualDesktop(accessibility=True)

    def start_tarq(self, **options):
        # The focus stays with the login window, which would lie beneath the editor.
        TarqTestCase.start_tarq(self, signed_in=False, **options)
        self.interface.wait_for_window(LOGIN)
        # The splash lies above it, and would take the clicks.
        self.interface.wait_for_no_window("Tarq")

    def enter(self, email: str = EMAIL, password: str = PASSWORD) -> None:
        self.interface.fill("Email", email, LOGIN)
        # Qt gives away nothing of a password's field, not even its name.
        self.interface.fill("", password, LOGIN, "password text")

    def choose_sign_up(self) -> None:
        self.interface.click("Don't have an account? Sign up", LOGIN)

    def submit(self, button: str = "Sign In") -> None:
        self.interface.click(button, LOGIN, "push button")

    def keys(self) -> dict:
        return json.loads(self.tarq.keys_file.read_text())

    def assert_signed_in(self) -> Bubble:
        self.interface.wait_for_no_window(LOGIN)
        self.assertTrue(self.keys()["accessToken"])
        return Bubble(self.desktop, self.tarq.process.pid)

    def dictate_into_the_editor(self) -> None:
        self.editor.focus()
        self.dictate("signed in and heard")
        self.editor.wait_for_text("signed in and heard")


class SignInTest(LoginTestCase):
    def test_new_user_signs_up_and_dictates(self):
        self.start_tarq()
        self.choose_sign_up()
        self.enter()
        self.submit("Create Account")
        self.assert_signed_in()
        self.dictate_into_the_editor()

    def test_user_signs_in_by_keys_alone(self):
        self.backend.create_account(EMAIL, PASSWORD)
        self.start_tarq()
        self.interface.click("Email", LOGIN)
        self.desktop.type(EMAIL)
        self.desktop.press("Tab")
        self.desktop.type(PASSWORD)
        self.desktop.press("Return")
        self.assert_signed_in()
        self.assertEqual(self.keys()["userEmail"], EMAIL)
        self.dictate_into_the_editor()

    def test_wrong_password_is_said_and_can_be_mended(self):
        self.expected_log = [
            r"^\[1\] Auth HTTP 400 response: .*Invalid login credentials",
            r"^\[1\] Auth failed: Wrong email or password\.",
        ]
        self.backend.create_account(EMAIL, PASSWORD)
        self.start_tarq()
        self.enter(password="wrong horse battery")
        self.submit()
        self.interface.wait_for_text(
            "^Wrong email or password. New here\\? Tap “Sign up” below.$", LOGIN
        )
        self.enter()
        self.submit()
        self.assert_signed_in()

    def test_address_that_is_taken_is_said_in_the_server_words(self):
        self.expected_log = [r"^\[1\] Auth failed: User already registered"]
        self.backend.create_account(EMAIL, PASSWORD)
        self.start_tarq()
        self.choose_sign_up()
        self.enter()
        self.submit("Create Account")
        self.interface.wait_for_text("^User already registered$", LOGIN)

    def test_short_password_is_refused_before_any_request(self):
        self.start_tarq()
        self.enter(password="1234567")
        self.submit()
        self.interface.wait_for_text("^Password must be at least 8 characters$", LOGIN)
        self.assertEqual(self.backend.requests(), [])

    def test_reset_mail_is_asked_for(self):
        self.start_tarq()
        self.interface.fill("Email", EMAIL, LOGIN)
        self.interface.click("Forgot password?", LOGIN)
        self.interface.wait_for_text("^Check your email for a password reset link$", LOGIN)

    def test_server_that_is_gone_leaves_the_form_waiting(self):
        self.expected_log = [
            r"^\[1\] Auth network error: Connection refused",
            r"^\[1\] Auth network error \(transient\): Connection refused "
            r"— will retry, keeping session",
        ]
        self.start_tarq()
        self.backend.stop()
        self.enter()
        self.submit()
        self.tarq.process.wait_for_line("will retry")
        # The form takes nothing more, while the other controls still work.
        self.desktop.type("x")
        self.choose_sign_up()
        self.interface.wait_for("Create account", LOGIN)
        self.assertEqual(self.interface.wait_for("Email", LOGIN).text, EMAIL)

    def test_closing_the_window_ends_the_program(self):
        self.start_tarq()
        self.interface.click("Close", LOGIN)
        self.assertEqual(self.tarq.process.wait(), 0)

    def test_second_start_at_the_login_window_changes_nothing(self):
        self.start_tarq()
        self.assertEqual(self.tarq.command().status, 0)
        self.assertEqual(self.interface.elements("Tarq"), [])

    def test_toggle_before_the_sign_in_records_nothing(self):
        self.start_tarq()
        self.assertEqual(self.tarq.toggle(), 0)
        self.assertEqual(self.tarq.recordings(), [])

    def test_sign_up_waits_for_the_confirmation(self):
        self.expected_log = [r"^\[1\] Auth HTTP 400", r"^\[1\] Auth failed: Please confirm"]
        self.backend.stop()
        self.backend.confirm_email = True
        self.backend.restart()
        self.start_tarq()
        self.choose_sign_up()
        self.enter()
        self.submit("Create Account")
        self.interface.wait_for_text("^Check your email to confirm your account$", LOGIN)
        self.interface.click("Already have an account? Sign in", LOGIN)
        self.enter()
        self.submit()
        self.interface.wait_for_text(
            "^Please confirm your email first. Check your inbox.$", LOGIN
        )
        self.backend.confirm(EMAIL)
        self.submit()
        self.assert_signed_in()


if __name__ == "__main__":
    unittest.main()

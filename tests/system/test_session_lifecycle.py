"""A session from its start to its end, with tokens of seconds."""

import unittest

from harness.bubble import Bubble
from test_sign_in import EMAIL, LOGIN, PASSWORD, LoginTestCase

# A refresh comes a minute after the start at the earliest.
REFRESH_S = 60
MARGIN_S = 30

TOKEN_PATH = "/auth/v1/token"


class LifecycleTestCase(LoginTestCase):
    def setUp(self):
        super().setUp()
        self.backend.create_account(EMAIL, PASSWORD)

    def start_with(self, lifetime: int) -> None:
        """Start with a stored session that is good for that many seconds."""
        self.tarq.sign_in(lifetime)
        self.tarq.start(signed_in=False)

    def refreshes(self, wait_for: int = 0, timeout: float = 30) -> list[dict]:
        return self.backend.requests(
            wait_for, answered=wait_for > 0, timeout=timeout, path=TOKEN_PATH
        )

    def bubble(self) -> Bubble:
        return Bubble(self.desktop, self.tarq.process.pid)


class StartTest(LifecycleTestCase):
    def test_expired_token_is_refreshed_before_anything_shows(self):
        self.start_with(lifetime=-60)
        self.bubble()
        self.assertEqual([request["status"] for request in self.refreshes()], [200])
        self.assertEqual(self.interface.elements(LOGIN), [])
        self.dictate_into_the_editor()

    def test_expired_token_whose_refresh_is_refused_leads_to_the_login_window(self):
        self.expected_log = [r"^\[1\] Auth HTTP 400", r"^\[1\] Auth failed: "]
        self.backend.script(
            [{"status": 400, "body": '{"msg": "Invalid Refresh Token"}'}], path=TOKEN_PATH
        )
        self.start_with(lifetime=-60)
        self.interface.wait_for_window(LOGIN)
        # The tokens stay until a sign-in overwrites them.
        self.assertTrue(self.keys()["refreshToken"])

    def test_expired_token_without_a_network_leads_to_the_login_window(self):
        self.expected_log = [
            r"^\[1\] Auth network error: Connection refused",
            r"^\[1\] Auth network error \(transient\): ",
        ]
        self.tarq.sign_in(-60)
        before = self.tarq.keys_file.read_bytes()
        self.backend.stop()
        self.tarq.start(signed_in=False)
        self.interface.wait_for_window(LOGIN)
        self.assertEqual(self.tarq.keys_file.read_bytes(), before)

    def test_nothing_but_the_splash_shows_until_the_answer(self):
        self.backend.script([{"delay_ms": 4000, "recognise": True}], path=TOKEN_PATH)
        self.start_with(lifetime=-60)
        self.interface.wait_for_window("Tarq")
        self.interface.wait_for_no_window("Tarq")
        windows = {element.window for element in self.interface.elements()}
        self.assertEqual(windows, {"Notes"})
        # The hotkey works already, and finds nobody signed in.
        self.assertEqual(self.tarq.toggle(), 0)
        self.assertEqual(self.tarq.recordings(), [])
        self.bubble()


class EndTest(LifecycleTestCase):
    def sign_out(self) -> None:
        self.interface.click("Sign Out", "Tarq")

    def show_history(self) -> None:
        self.bubble().wait_alone()
        self.assertEqual(self.tarq.command().status, 0)
        self.interface.wait_for("Sign Out", "Tarq")

    def test_refused_dictation_ends_the_session(self):
        self.expected_log = [r"^\[1\] Audio preserved at: "]
        self.start_with(lifetime=3600)
        bubble = self.bubble()
        self.backend.script([{"status": 401}], path="/v1/audio/transcriptions")
        self.record()
        self.interface.wait_for_window(LOGIN)
        bubble.wait_shown(False)
        self.assertEqual(self.keys()["accessToken"], "")
        self.assertEqual(self.keys()["refreshToken"], "")
        # The words aren't lost: the recording stays.
        self.assertEqual(len(self.tarq.recordings()), 1)
        self.assertEqual(self.refreshes(), [])

    def test_sign_out_and_in_again_keeps_the_bubble(self):
        self.start_with(lifetime=3600)
        bubble = self.bubble()
        self.show_history()
        self.sign_out()
        self.interface.wait_for_window(LOGIN)
        bubble.wait_shown(False)
        self.enter()
        self.submit()
        self.interface.wait_for_no_window(LOGIN)
        bubble.wait_shown()
        self.assertEqual(self.bubble().window, bubble.window)
        self.dictate_into_the_editor()

    def test_sign_out_without_a_network_works_at_once(self):
        self.start_with(lifetime=3600)
        self.show_history()
        self.backend.stop()
        self.sign_out()
        self.interface.wait_for_window(LOGIN)
        self.assertEqual(self.keys()["accessToken"], "")

    def test_refresh_that_ends_after_the_sign_out_signs_in_again(self):
        self.start_with(lifetime=360)
        self.backend.script([{"delay_ms": 12000, "recognise": True}], path=TOKEN_PATH)
        self.show_history()
        self.backend.requests(1, timeout=REFRESH_S + MARGIN_S, path=TOKEN_PATH)
        self.sign_out()
        self.interface.wait_for_window(LOGIN)
        self.interface.wait_for_no_window(LOGIN)
        self.assertTrue(self.keys()["accessToken"])


if __name__ == "__main__":
    unittest.main()

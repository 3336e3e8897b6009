"""A session that is refreshed before it expires, with tokens of minutes and real waits."""

import unittest

from test_session_lifecycle import MARGIN_S, REFRESH_S, TOKEN_PATH, LifecycleTestCase
from test_sign_in import LOGIN

# A retry comes half a minute after a network error.
RETRY_S = 30


class RefreshTest(LifecycleTestCase):
    def test_session_is_refreshed_before_it_expires(self):
        self.start_with(lifetime=360)
        first = self.keys()
        self.refreshes(wait_for=1, timeout=REFRESH_S + MARGIN_S)
        self.desktop.wait_until(lambda: self.keys() != first, "the new tokens")
        self.assertNotEqual(self.keys()["refreshToken"], first["refreshToken"])
        self.assertGreater(self.keys()["expiresAt"], first["expiresAt"])
        self.dictate_into_the_editor()


class RetryTest(LifecycleTestCase):
    def test_refresh_is_tried_again_until_the_network_is_back(self):
        self.expected_log = [
            r"^\[1\] Auth network error: Connection refused",
            r"^\[1\] Auth network error \(transient\): Connection refused "
            r"— will retry, keeping session",
        ]
        self.start_with(lifetime=360)
        first = self.keys()
        self.backend.stop()
        self.tarq.process.wait_for_line("will retry", timeout=REFRESH_S + MARGIN_S)
        self.assertTrue(self.bubble().is_shown())
        self.backend.restart()
        self.desktop.wait_until(
            lambda: self.keys() != first, "the new tokens", RETRY_S + MARGIN_S
        )
        self.dictate_into_the_editor()


class RefusalTest(LifecycleTestCase):
    def test_refused_refresh_lets_the_session_run_out(self):
        self.expected_log = [
            r"^\[1\] Auth HTTP 400",
            r"^\[1\] Auth failed: ",
            r"^\[1\] Audio preserved at: ",
        ]
        self.start_with(lifetime=360)
        self.backend.script(
            [{"status": 400, "body": '{"msg": "Invalid Refresh Token"}'}], path=TOKEN_PATH
        )
        self.tarq.process.wait_for_line("Auth failed: ", timeout=REFRESH_S + MARGIN_S)
        self.dictate_into_the_editor()
        # Once the worker refuses the token, it's over.
        self.backend.script([{"status": 401}], path="/v1/audio/transcriptions")
        self.record()
        self.interface.wait_for_window(LOGIN)


if __name__ == "__main__":
    unittest.main()

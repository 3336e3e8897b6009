"""A browser that is closed without a word, in real time: it takes two minutes."""

import unittest

from test_browser_sign_in import GITHUB, GOOGLE, BrowserTestCase
from test_sign_in import LOGIN

TIMEOUT_S = 120
LATE_S = 30


class BrowserTimeOutTest(BrowserTestCase):
    def test_flow_times_out_and_the_next_one_signs_in(self):
        self.expected_log = [r"^\[1\] OAuth: timed out waiting", r"^\[1\] Auth failed: "]
        self.start_tarq()
        self.click(GOOGLE)
        self.browser.wait_for_url()
        self.tarq.process.wait_for_line("OAuth: timed out waiting", TIMEOUT_S + LATE_S)
        self.interface.wait_for_text(
            "^Sign-in timed out. The browser couldn't return to Tarq — try email/password or "
            "check your firewall.$",
            LOGIN,
        )
        with self.assertRaises(ConnectionRefusedError):
            self.request_callback("/callback?code=late")

        self.click(GITHUB)
        self.assertNotEqual(self.callback_port(1), self.callback_port(2))
        self.browser.page(2).click("allow")
        self.assert_signed_in()


if __name__ == "__main__":
    unittest.main()

"""Signing in by a real browser that follows the redirect to the program."""

import http.client
import os
import shutil
import unittest
from urllib.parse import parse_qs, urlsplit

from harness.browser import Browser
from test_sign_in import LOGIN, LoginTestCase

GOOGLE = "Continue with Google"
GITHUB = "Continue with GitHub"


class BrowserTestCase(LoginTestCase):
    """Tarq at its login window, with a browser in which it opens addresses."""

    def setUp(self):
        super().setUp()
        self.browser = Browser(self.desktop)

    def start_tarq(self, env=None):
        super().start_tarq(env={"PATH": self.browser.path, **(env or {})})

    def click(self, provider: str) -> None:
        self.interface.click(provider, LOGIN)

    def callback_port(self, number: int = 1) -> int:
        """The port that an authorize address asks to be redirected to."""
        query = parse_qs(urlsplit(self.browser.wait_for_url(number)).query)
        return urlsplit(query["redirect_to"][0]).port

    def request_callback(self, path: str, number: int = 1) -> str:
        """What a browser would be answered that asks the program for this path."""
        connection = http.client.HTTPConnection("127.0.0.1", self.callback_port(number))
        connection.request("GET", path)
        body = connection.getresponse().read().decode()
        connection.close()
        return body

    def sign_in(self, provider: str) -> None:
        self.click(provider)
        page = self.browser.page()
        self.assertIn(f"provider={provider.split()[-1].lower()}&", self.browser.urls[0])
        page.click("allow")
        page.wait_for_text("Signed in")
        page.wait_for_text("You can close this tab")
        self.assert_signed_in()


class BrowserSignInTest(BrowserTestCase):
    def test_google_leads_to_the_bubble(self):
        self.start_tarq()
        self.sign_in(GOOGLE)
        self.dictate_into_the_editor()

    def test_github_leads_to_the_bubble(self):
        self.start_tarq()
        self.sign_in(GITHUB)

    def test_denial_is_said_and_can_be_mended(self):
        self.expected_log = [r"^\[1\] OAuth provider error: ", r"^\[1\] Auth failed: "]
        self.start_tarq()
        self.click(GOOGLE)
        page = self.browser.page()
        page.click("deny")
        page.wait_for_text("Authentication failed")
        page.wait_for_text("Close this tab and try again in Tarq")
        self.interface.wait_for_text("denied", LOGIN)
        page.close()
        self.click(GOOGLE)
        self.browser.page(2).click("allow")
        self.assert_signed_in()

    def test_favicon_that_comes_first_ends_the_flow(self):
        self.expected_log = [r"^\[1\] Auth failed: Sign-in cancelled or no code received"]
        self.start_tarq()
        self.click(GOOGLE)
        self.assertIn("Authentication failed", self.request_callback("/favicon.ico"))
        self.interface.wait_for_text("^Sign-in cancelled or no code received$", LOGIN)

    def test_foreign_code_is_refused(self):
        self.expected_log = [r"^\[1\] Auth HTTP 4", r"^\[1\] Auth failed: "]
        self.start_tarq()
        self.click(GOOGLE)
        self.assertIn("Signed in", self.request_callback("/callback?code=not-yours"))
        self.tarq.process.wait_for_line("Auth failed: ")
        self.assertTrue(self.interface.elements(LOGIN))

    def test_opener_that_has_moved_is_found_again(self):
        # Qt remembers the opener that it found first; one that has gone since makes it fail.
        self.expected_log = [
            r"^\[1\] Launch failed \(.*/first/xdg-open ",
            r"^\[1\] OAuth: QDesktopServices::openUrl failed — falling back to xdg-open",
            r"^\[1\] Auth failed: Sign-in cancelled or no code received",
        ]
        first = self.desktop.root / "first"
        first.mkdir()
        opener = shutil.which("xdg-open", path=self.browser.path)
        shutil.copy(opener, first)
        path = os.pathsep.join([str(first), self.browser.path])
        self.start_tarq(env={"PATH": path})
        self.click(GOOGLE)
        self.request_callback("/callback")
        self.interface.wait_for_text("^Sign-in cancelled", LOGIN)
        shutil.rmtree(first)
        self.click(GOOGLE)
        self.browser.page(2).click("allow")
        self.assert_signed_in()


if __name__ == "__main__":
    unittest.main()

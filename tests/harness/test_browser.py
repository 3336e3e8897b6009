import http.server
import threading
import unittest
from pathlib import Path
from urllib.parse import urlencode

from harness.backend import Backend
from harness.browser import Browser, Page, WebDriverError
from harness.session import Session

CHALLENGE = "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM"


class Target(http.server.ThreadingHTTPServer):
    """Where the page of consent redirects to."""

    def __init__(self) -> None:
        super().__init__(("127.0.0.1", 0), TargetHandler)
        self.paths: list[str] = []
        self.url = f"http://127.0.0.1:{self.server_port}"
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def stop(self) -> None:
        self.shutdown()
        self.server_close()


class TargetHandler(http.server.BaseHTTPRequestHandler):
    server: Target

    def do_GET(self) -> None:
        self.server.paths.append(self.path)
        page = b"<title>There</title><p>Arrived"
        self.send_response(200)
        self.send_header("Content-Length", str(len(page)))
        self.end_headers()
        self.wfile.write(page)

    def log_message(self, *_arguments: object) -> None:
        pass


class BrowserTest(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(Session())
        self.target = Target()
        self.addCleanup(self.target.stop)
        self.browser = Browser(self.session)

    def open(self, url: str) -> None:
        self.session.run(["xdg-open", url], env={"PATH": self.browser.path})

    def alive(self) -> list[str]:
        """The command lines of Chromium's processes, which all name the profile."""
        found = []
        for path in Path("/proc").glob("[0-9]*/cmdline"):
            try:
                command = path.read_bytes().decode(errors="replace")
            except OSError:  # ended meanwhile
                continue
            if f"{self.session.root}/browser/" in command:
                found.append(command.replace("\0", " "))
        return found

    def open_consent(self) -> tuple[Backend, Page]:
        backend = Backend(self.session)
        query = {
            "provider": "github",
            "redirect_to": f"{self.target.url}/callback",
            "flow_type": "pkce",
            "code_challenge": CHALLENGE,
            "code_challenge_method": "S256",
        }
        self.open(f"{backend.url}/auth/v1/authorize?{urlencode(query)}")
        page = self.browser.page()
        page.wait_for_title("Sign in with GitHub")
        return backend, page

    def test_consent_leads_back_with_a_code(self):
        backend, page = self.open_consent()
        page.fill("email", "octo@tarq.example")
        page.click("allow")
        page.wait_for_text("Arrived")
        url = page.wait_for_url(f"{self.target.url}/callback?code=")
        self.assertIn(url.removeprefix(self.target.url), self.target.paths)
        (account,) = backend.accounts()
        self.assertEqual(account["email"], "octo@tarq.example")

    def test_denial_leads_back_with_the_reason(self):
        _backend, page = self.open_consent()
        page.click("deny")
        page.wait_for_title("There")
        reason = "error=access_denied&error_description=The%20user%20denied%20the%20request"
        self.assertEqual(page.url, f"{self.target.url}/callback?{reason}")
        self.assertIn(f"/callback?{reason}", self.target.paths)

    def test_address_arrives_as_it_is(self):
        url = f"{self.target.url}/a%20b?c='$(x)'&d=\"*\""
        self.open(url)
        self.assertEqual(self.browser.wait_for_url(), url)
        self.browser.page().wait_for_text("Arrived")
        self.assertIn("/a%20b?c=%27$(x)%27&d=%22*%22", self.target.paths)

    def test_every_address_has_a_page(self):
        for number in (1, 2):
            self.open(f"{self.target.url}/{number}")
            self.browser.wait_for_url(number)
        self.assertEqual(self.browser.urls, [f"{self.target.url}/{number}" for number in (1, 2)])
        for number in (1, 2):
            self.browser.page(number).wait_for_url(f"{self.target.url}/{number}")

    def test_missing_element_is_a_failure(self):
        self.open(self.target.url)
        with self.assertRaisesRegex(WebDriverError, "no such element"):
            self.browser.page().click("allow")

    def test_user_can_close_the_browser(self):
        self.open(self.target.url)
        page = self.browser.page()
        page.wait_for_text("Arrived")
        self.assertTrue(self.alive())
        page.close()
        self.session.wait_until(lambda: not self.alive(), "the end of the browser")

    def test_user_can_want_nothing_opened(self):
        self.open(self.target.url)
        self.assertEqual(self.browser.wait_for_url(), self.target.url)
        self.assertEqual((self.alive(), self.target.paths), ([], []))

    def test_browser_ends_with_the_session(self):
        self.open(self.target.url)
        self.browser.page().wait_for_text("Arrived")
        self.assertTrue(self.alive())
        self.session.close()
        self.session.wait_until(lambda: not self.alive(), "the end of the browser")


if __name__ == "__main__":
    unittest.main()

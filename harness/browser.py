"""The browser in which the program under test opens addresses: headless Chromium.

Needs Debian's packages chromium and chromium-driver.
"""

import http.client
import json

from harness.process import DEADLINE_S, Process
from harness.session import Session

OPENER = """\
#!/bin/sh
printf '%s\\n' "$1" >> {urls}
"""
OPTIONS = [
    "--headless",
    "--remote-debugging-port=0",
    "--no-sandbox",  # root has none, and only our own pages are shown
    "--disable-gpu",
    "--disable-dev-shm-usage",
    "--no-first-run",
    "--password-store=basic",
    # Nothing may leave the machine.
    "--disable-background-networking",
    "--disable-component-update",
    "--disable-sync",
    "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1, EXCLUDE localhost",
]
# The key under which the WebDriver protocol hands out elements.
ELEMENT = "element-6066-11e4-a52e-4f735466cecf"


class Browser:
    """An xdg-open of the session's own, for programs that are given path as their PATH.

    It takes the addresses down. Chromium itself is started by page(), as a child of the
    harness: one that the program under test had started could outlive the session. A
    test that doesn't call page() has a user who closes the browser without a word.
    """

    def __init__(self, session: Session) -> None:
        self._session = session
        self._directory = session.root / "browser"
        self._directory.mkdir()
        session.give(self._directory)
        self._urls = self._directory / "urls"
        opener = session.write("browser/xdg-open", OPENER.format(urls=self._urls))
        opener.chmod(0o755)
        self.path = f"{self._directory}:{session.env['PATH']}"
        self._driver: ChromeDriver | None = None

    @property
    def urls(self) -> list[str]:
        """All addresses that were to be opened."""
        try:
            return self._urls.read_text(encoding="utf-8").splitlines()
        except FileNotFoundError:
            return []

    def wait_for_url(self, number: int = 1) -> str:
        """Wait for the numbered address that is to be opened, and return it."""
        what = f"{number} addresses to be opened"
        self._session.wait_until(lambda: len(self.urls) >= number, what)
        return self.urls[number - 1]

    def page(self, number: int = 1) -> "Page":
        """Open the numbered address, once it is to be opened, in a browser of its own."""
        url = self.wait_for_url(number)
        # A headless one takes no second address, and refuses to share a profile.
        profile = f"--user-data-dir={self._directory / f'profile-{number}'}"
        process = self._session.spawn(["chromium", *OPTIONS, profile, url])
        port = process.wait_for_line(r"^DevTools listening on ws://127\.0\.0\.1:(\d+)/")[1]
        if self._driver is None:
            self._driver = ChromeDriver(self._session)
        return Page(self._session, self._driver, process, f"127.0.0.1:{port}")


class Page:
    """A browser's only tab."""

    def __init__(
        self, session: Session, driver: "ChromeDriver", process: Process, address: str
    ) -> None:
        self._session = session
        self._process = process
        self._driver = driver
        options = {"goog:chromeOptions": {"debuggerAddress": address}}
        capabilities = {"capabilities": {"alwaysMatch": options}}
        self._base = f"/session/{driver.command('POST', '/session', capabilities)['sessionId']}"

    @property
    def url(self) -> str:
        return self._command("GET", "/url")

    @property
    def title(self) -> str:
        return self._command("GET", "/title")

    def text(self) -> str:
        """What the user can read on the page."""
        return self._command("GET", f"{self._element('body')}/text")

    def wait_for_url(self, start: str) -> str:
        """Wait for an address that begins like this, and return the whole of it."""
        return self._wait(lambda: self.url.startswith(start) and self.url, f"the address {start}")

    def wait_for_title(self, title: str) -> None:
        self._wait(lambda: self.title == title, f"the title {title!r}")

    def wait_for_text(self, part: str) -> None:
        self._wait(lambda: part in self.text(), f"the text {part!r}")

    def click(self, element_id: str) -> None:
        """Click an element; returns when the page that this leads to has been loaded."""
        self._command("POST", f"{self._element('#' + element_id)}/click", {})

    def fill(self, element_id: str, text: str) -> None:
        """Type a text into a field in place of what it holds."""
        field = self._element("#" + element_id)
        self._command("POST", f"{field}/clear", {})
        self._command("POST", f"{field}/value", {"text": text})

    def close(self) -> None:
        """Close it with its browser, as a user does."""
        self._process.stop()

    def _element(self, selector: str) -> str:
        query = {"using": "css selector", "value": selector}
        return f"/element/{self._command('POST', '/element', query)[ELEMENT]}"

    def _command(self, method: str, path: str, body: dict | None = None):
        return self._driver.command(method, self._base + path, body)

    def _wait(self, ready, what: str):
        def on_a_page_that_stays():
            try:
                return ready()
            except WebDriverError:  # between two pages
                return None

        try:
            return self._session.wait_until(on_a_page_that_stays, what)
        except AssertionError as error:
            raise type(error)(f"{error}\n--- {self.url}\n{self.text()}") from None


class WebDriverError(AssertionError):
    """A command was refused, such as one for an element that isn't there."""


class ChromeDriver:
    """A server of the W3C WebDriver protocol."""

    def __init__(self, session: Session) -> None:
        # It takes a free port of IPv6 and then wants the same of IPv4, which others may have.
        outcome = r"started successfully on port (\d+)|IPv4 port not available"
        port = None
        while port is None:
            port = session.spawn(["chromedriver", "--port=0"]).wait_for_line(outcome)[1]
        self._port = int(port)

    def command(self, method: str, path: str, body: dict | None = None):
        connection = http.client.HTTPConnection("127.0.0.1", self._port, timeout=DEADLINE_S)
        try:
            connection.request(method, path, None if body is None else json.dumps(body))
            response = connection.getresponse()
            value = json.loads(response.read())["value"]
        finally:
            connection.close()
        if response.status != 200:
            raise WebDriverError(f"{method} {path}: {value['error']}: {value['message']}")
        return value

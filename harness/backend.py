"""The local backend that the program under test talks to."""

import base64
import http.client
import json
import subprocess
import sys
from pathlib import Path
from urllib.parse import quote, urlsplit

from harness.process import DEADLINE_S, DeadlineExceeded, Process
from harness.session import Session

PROGRAM = Path(__file__).resolve().parent.parent / "backend" / "tarq-backend"


class Backend:
    """A running backend with its control API; ends with the session.

    It stands for a machine elsewhere, so it runs as the harness's own user even
    where the session has another. A changed token_lifetime (seconds, of the sessions
    that are started or refreshed) or confirm_email takes effect at the next restart().
    """

    def __init__(
        self,
        session: Session,
        *,
        port: int = 0,
        token_lifetime: int = 3600,
        confirm_email: bool = False,
    ) -> None:
        self._session = session
        self._state = session.root / "backend"
        self.token_lifetime = token_lifetime
        self.confirm_email = confirm_email
        self.url = self._serve(port)

    def issue_session(self, keys_file: Path, lifetime: int = 3600) -> None:
        """Write the tokens of a fresh session, good for lifetime seconds, into a file."""
        issue = ["--issue-session", keys_file, "--token-lifetime", str(lifetime)]
        subprocess.run(self._command(*issue), env=self._session.env, check=True)
        self._session.give(keys_file)

    def create_account(self, email: str, password: str) -> None:
        """Sign up as a client does; with confirm_email the address is yet to be confirmed."""
        fields = {"email": email, "password": password}
        self._request("POST", "/auth/v1/signup", fields, {"apikey": "anonymous"})

    def confirm(self, email: str) -> None:
        """Confirm an address, as the link in the mail does."""
        self._control("POST", "confirm", {"email": email})

    def accounts(self) -> list[dict]:
        return self._control("GET", "accounts")

    def crash_reports(self) -> list[bytes]:
        """The bodies so far, oldest first, as they came."""
        return [base64.b64decode(body) for body in self._control("GET", "crash-reports")]

    def script(self, replies: list[dict], path: str | None = None) -> None:
        """Queue replies that the next requests (to a path) get instead of the real ones."""
        named = [{"path": path, **reply} for reply in replies]
        self._control("POST", "replies", named)

    def set_transcript(self, text: str | None) -> None:
        """Answer every recording with this text; None recognises speech again."""
        self._control("PUT", "transcript", None if text is None else {"text": text})

    def requests(
        self,
        wait_for: int = 0,
        answered: bool = False,
        timeout: float = DEADLINE_S,
        path: str | None = None,
    ) -> list[dict]:
        """The requests so far (to a path), once there are at least wait_for (answered ones).

        "body" is what was sent, None for a form.
        """
        query = f"wait_for={wait_for}&timeout_ms={int(timeout * 1000)}&answered={int(answered)}"
        if path is not None:
            query += f"&path={quote(path, safe='')}"
        found = self._control("GET", f"requests?{query}", timeout=timeout + DEADLINE_S)
        counted = [request for request in found if request["answered_at"] or not answered]
        if len(counted) < wait_for:
            raise DeadlineExceeded(
                f"waited {timeout:g} s for {wait_for} requests, got\n"
                f"{json.dumps(found, indent=2)}\n{self._session.logs()}"
            )
        for request in found:
            body = request.pop("body_base64")
            request["body"] = None if body is None else base64.b64decode(body)
        return found

    def forget_requests(self) -> None:
        self._control("DELETE", "requests")

    def stop(self) -> None:
        self.process.stop()

    def restart(self) -> None:
        """Serve again after stop(), at the same address; tokens and accounts stay good."""
        self._serve(urlsplit(self.url).port)

    def _serve(self, port: int) -> str:
        serve = ["--control", "--port", str(port), "--token-lifetime", str(self.token_lifetime)]
        if self.confirm_email:
            serve.append("--confirm-email")
        self.process = Process(self._command(*serve), env=self._session.env, name="backend")
        self._session.processes.append(self.process)
        return self.process.wait_for_line(r"^https?://\S+$")[0]

    def _command(self, *arguments: object) -> list[object]:
        return [sys.executable, PROGRAM, "--state-dir", self._state, *arguments]

    def _control(self, method: str, path: str, body=None, timeout: float = DEADLINE_S):
        return self._request(method, f"/_control/{path}", body, timeout=timeout)

    def _request(
        self, method: str, path: str, body=None, headers=None, timeout: float = DEADLINE_S
    ):
        # Straight to the port: a proxy in the environment must not see this.
        connection = http.client.HTTPConnection(urlsplit(self.url).netloc, timeout=timeout)
        try:
            headers = {"Content-Type": "application/json", **(headers or {})}
            connection.request(method, path, json.dumps(body), headers)
            response = connection.getresponse()
            content = response.read()
        finally:
            connection.close()
        if response.status >= 300:
            raise AssertionError(f"{method} {path}: {response.status} {content!r}")
        return json.loads(content) if content else None

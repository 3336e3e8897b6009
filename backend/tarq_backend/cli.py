"""The command line, and the place where the parts are put together."""

from __future__ import annotations

import argparse
import os
import signal
import sqlite3
import sys
from collections.abc import Callable
from pathlib import Path

from . import log, transcription
from .account import AccountService
from .accounts import Accounts
from .auth import Auth, keyed
from .codes import Codes
from .consent import Consent
from .control import Control, FixedTranscript
from .crash_reports import CrashReports
from .database import Database
from .files import load_secret
from .keys_file import write_session
from .messages import ApiError
from .recogniser import PocketSphinx
from .relay import Relay
from .release import Release, project_version
from .router import Router
from .server import Answer, Server
from .sessions import Sessions
from .transcription import Recogniser, Transcription
from .usage import Usage

_RELAY_KEY_VARIABLE = "TARQ_RELAY_KEY"
_MEBIBYTE = 1 << 20
_END_SIGNALS = (signal.SIGINT, signal.SIGTERM)


def main() -> int:
    options = _parse()
    log.set_up()
    try:
        state_dir = options.state_dir.expanduser()
        secret = load_secret(state_dir / "secret")
        database = Database(state_dir / "accounts.db")
        accounts = Accounts(database, options.confirm_email)
        sessions = Sessions(database, accounts, secret, options.token_lifetime)
        if options.issue_session:
            account = accounts.vouched_for(options.email, "email")
            write_session(options.issue_session, sessions.start(account))
        else:
            _serve(options, database, accounts, sessions)
    except (ApiError, OSError, ValueError, sqlite3.Error) as error:
        print(f"tarq-backend: {error}", file=sys.stderr)
        return 1
    return 0


def _serve(
    options: argparse.Namespace, database: Database, accounts: Accounts, sessions: Sessions
) -> None:
    recogniser = FixedTranscript(_recogniser(options.relay))
    usage = Usage(database)
    codes = Codes(database)
    auth = Auth(accounts, sessions, codes)
    consent = Consent(accounts, codes)
    account = AccountService(accounts, sessions, usage)
    crash_reports = CrashReports(database)
    release = Release(options.latest_version or project_version(), options.download_url)
    endpoints = Router(
        {
            # A browser comes to this one, and has no key.
            "/auth/v1/authorize": {"GET": consent.show, "POST": consent.decide},
            "/auth/v1/recover": {"POST": keyed(auth.recover)},
            "/auth/v1/signup": {"POST": keyed(auth.sign_up)},
            "/auth/v1/token": {"POST": keyed(auth.token)},
            "/v1/account": {"DELETE": account.delete},
            "/v1/account/export": {"GET": account.export},
            "/v1/auth/logout": {"POST": account.log_out},
            "/v1/crash-report": {"POST": crash_reports.post},
            "/v1/version": {"GET": release.get},
            transcription.PATH: {"POST": Transcription(sessions, usage, recogniser).post},
        }
    )
    control = Control(endpoints, recogniser, accounts, crash_reports)
    answer: Answer = control.answer if options.control else endpoints.answer
    server = Server(options.port, options.max_audio_mb * _MEBIBYTE, answer)
    # Blocked before there are threads, so that the signals wait for sigwait(). A handler
    # that raises could strike while a connection is being taken on, and lose it.
    signal.pthread_sigmask(signal.SIG_BLOCK, _END_SIGNALS)
    server.start()
    try:
        print(server.url, flush=True)
        signal.sigwait(_END_SIGNALS)
    finally:
        control.stop()
        recogniser.stop()
        server.stop()


def _recogniser(relay_url: str | None) -> Recogniser:
    if relay_url is None:
        return PocketSphinx()
    return Relay(relay_url, os.environ.get(_RELAY_KEY_VARIABLE))


def _parse() -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="tarq-backend", description="A local stand-in for the services that Tarq talks to."
    )
    add = parser.add_argument
    add(
        "--port",
        type=_within(0, 65535),
        default=0,
        metavar="N",
        help="port on 127.0.0.1; 0 picks a free one (default)",
    )
    add(
        "--state-dir",
        type=Path,
        default=Path("~/.local/state/tarq-backend"),
        metavar="DIR",
        help="keeps the signing secret and the accounts (default %(default)s)",
    )
    add("--relay", metavar="URL", help=f"recognise there; key in ${_RELAY_KEY_VARIABLE}")
    add(
        "--token-lifetime",
        type=int,
        default=3600,
        metavar="SECONDS",
        help="of the tokens that are issued; may be negative (default %(default)s)",
    )
    add(
        "--max-audio-mb",
        type=_within(1, 1024),
        default=25,
        metavar="N",
        help="largest request body in MiB (default %(default)s)",
    )
    add(
        "--confirm-email",
        action="store_true",
        help="a sign-up gives no session until its address is confirmed",
    )
    add(
        "--latest-version",
        metavar="VERSION",
        help="that is announced as the newest (default: the source tree's)",
    )
    add(
        "--download-url",
        default="https://tarq.example/download",
        metavar="URL",
        help="of the newest version (default %(default)s)",
    )
    add("--control", action="store_true", help="serve the control API for tests")
    add("--issue-session", type=Path, metavar="FILE", help="write a session into FILE and end")
    add(
        "--email",
        default="demo@tarq.example",
        metavar="ADDRESS",
        help="of the session (default %(default)s)",
    )
    return parser.parse_args()


def _within(lowest: int, highest: int) -> Callable[[str], int]:
    def convert(text: str) -> int:
        if not (text.isascii() and text.isdigit() and lowest <= int(text) <= highest):
            raise argparse.ArgumentTypeError(f"not a number from {lowest} to {highest}")
        return int(text)

    return convert

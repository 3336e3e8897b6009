"""The end by a signal, at every stage of a run: status 0, and nothing in the log."""

import os
import signal
import socket
import unittest
from pathlib import Path

from harness.browser import Browser
from harness.bubble import Bubble
from harness.desktop import VirtualDesktop
from harness.interface import Interface
from harness.session import Session
from harness.testcase import DictationTestCase, TarqTestCase
from harness.tray import EmbeddingTray, StatusNotifierTray
from tests.system.support import let_handle_everything

LOGIN, PROFILE = "Tarq — Sign In", "Tarq — Profile"
SETTINGS, ABOUT = "Tarq — Settings", "Tarq — About"
TOKEN_PATH = "/auth/v1/token"

LONG_MS = 300_000

SLOW_XDOTOOL = """\
#!/bin/sh
[ "$1" = getactivewindow ] && exec /usr/bin/xdotool "$@"
touch {started}
exec sleep 600
"""


class EndTestCase(TarqTestCase):
    starts_tarq = False

    def make_session(self) -> Session:
        return VirtualDesktop()

    def check_ends(self, reach_stage) -> None:
        """Each of the two signals ends the program at a stage; the log is checked later."""
        for number in (signal.SIGTERM, signal.SIGINT):
            with self.subTest(number.name):
                self.backend.forget_requests()
                reach_stage()
                os.kill(self.tarq.process.pid, number)
                self.assertEqual(self.tarq.process.wait(), 0, self.tarq.process.log())


class StartTest(EndTestCase):
    def catches(self, number: signal.Signals) -> bool:
        """Whether the program has come as far as its own handler."""
        status = Path(f"/proc/{self.tarq.process.pid}/status").read_text()
        caught = int(status.split("SigCgt:")[1].split()[0], 16)
        return bool(caught >> (number - 1) & 1)

    def listens(self) -> bool:
        with socket.socket(socket.AF_UNIX) as client:
            return client.connect_ex(str(self.tarq.socket)) == 0

    def signals_lost_at_a_start(self, number: signal.Signals) -> int:
        """How many came between the program's own handler and its event loop."""
        self.start_tarq(listening=False)
        sent = 0
        while not self.listens():
            if self.catches(number):
                os.kill(self.tarq.process.pid, number)
                sent += 1
        let_handle_everything(self.tarq.socket)
        self.assertEqual(self.tarq.process.stop(), 0)
        return sent

    def test_signals_before_the_event_loop_are_lost(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(number.name):
                # On a busy machine all of a start may pass between two looks.
                self.desktop.wait_until(
                    lambda: self.signals_lost_at_a_start(number), "a signal in time"
                )

    def test_splash(self):
        self.check_ends(self.start_tarq)

    def test_wait_for_a_session(self):
        def reach_stage() -> None:
            self.backend.script([{"delay_ms": LONG_MS}], path=TOKEN_PATH)
            self.tarq.sign_in(lifetime=-60)
            self.start_tarq(signed_in=False)
            self.backend.requests(wait_for=1, path=TOKEN_PATH)

        self.check_ends(reach_stage)

    def test_shown_bubble(self):
        def reach_stage() -> None:
            self.start_tarq()
            Bubble(self.desktop, self.tarq.process.pid).wait_shown()

        self.check_ends(reach_stage)

    def test_hidden_bubble(self):
        def reach_stage() -> None:
            self.start_tarq()
            Bubble(self.desktop, self.tarq.process.pid).wait_shown(False)

        self.check_ends(reach_stage)


class DictationEndTest(EndTestCase):
    """What a dictation leaves behind is the business of other tests."""

    def test_recording(self):
        def reach_stage() -> None:
            self.start_tarq()
            self.start_recording()

        self.check_ends(reach_stage)

    def test_hold_to_record(self):
        self.desktop.run(["xset", "r", "off"])
        # Keys go nowhere while no window has the focus.
        terminal = self.desktop.spawn(["xterm"])

        def reach_stage() -> None:
            self.start_tarq()
            older = self.tarq.recordings()
            self.desktop.activate(terminal.pid)
            self.desktop.run(["xdotool", "keyup", "space", "keyup", "super"])
            self.desktop.run(["xdotool", "keydown", "super", "keydown", "space"])
            self.tarq.wait_recording(besides=older)

        self.check_ends(reach_stage)

    def test_upload_that_nobody_reads(self):
        def reach_stage() -> None:
            worker = self.enterContext(socket.create_server(("127.0.0.1", 0)))
            self.start_tarq(env={"WORKER_URL": f"http://127.0.0.1:{worker.getsockname()[1]}"})
            self.record()
            self.enterContext(worker.accept()[0])

        self.check_ends(reach_stage)

    def test_processing(self):
        def reach_stage() -> None:
            self.backend.script([{"delay_ms": LONG_MS}])
            self.start_tarq()
            self.record()
            self.backend.requests(wait_for=1)

        self.check_ends(reach_stage)

    def test_retry_pending(self):
        self.expected_log = ["attempt 1 of 3"]

        def reach_stage() -> None:
            self.backend.script([{"status": 503}])
            self.start_tarq()
            self.record()
            self.tarq.process.wait_for_line("retrying in 1000 ms")

        self.check_ends(reach_stage)

    def test_paste_under_way(self):
        started = self.desktop.tmp / "paste"
        tool = self.desktop.write("xdotool", SLOW_XDOTOOL.format(started=started))
        tool.chmod(0o755)
        path = f"{self.desktop.root}:{self.desktop.env['PATH']}"
        self.backend.set_transcript("never pressed")

        def reach_stage() -> None:
            started.unlink(missing_ok=True)
            self.start_tarq(env={"PATH": path})
            self.record()
            self.desktop.wait_until(started.exists, "the paste")

        self.check_ends(reach_stage)

    def test_lost_audio_server(self):
        self.expected_log = ["Stream error: .*Connection terminated", "Audio error: "]

        def reach_stage() -> None:
            self.start_tarq()
            self.start_recording()
            self.microphone.kill()
            self.tarq.process.wait_for_line("Audio error")
            self.microphone.start()

        self.check_ends(reach_stage)


class WindowTestCase(EndTestCase):
    def make_session(self):
        return VirtualDesktop(accessibility=True)

    def setUp(self):
        super().setUp()
        self.interface = Interface(self.desktop)


class LoginEndTest(WindowTestCase):
    def start_at_login(self, **options) -> None:
        self.start_tarq(signed_in=False, **options)
        self.interface.wait_for_window(LOGIN)
        self.interface.wait_for_no_window("Tarq")  # the splash

    def test_login_window(self):
        self.check_ends(self.start_at_login)

    def test_login_window_beneath_the_splash(self):
        self.check_ends(lambda: self.start_tarq(signed_in=False))

    def test_sign_in_under_way(self):
        def reach_stage() -> None:
            self.backend.script([{"delay_ms": LONG_MS}], path=TOKEN_PATH)
            self.start_at_login()
            self.interface.fill("Email", "me@example.org", LOGIN)
            self.interface.click("", LOGIN, "password text")
            self.desktop.type("correct horse battery")
            self.interface.click("Sign In", LOGIN, "push button")
            self.backend.requests(wait_for=1, path=TOKEN_PATH)

        self.check_ends(reach_stage)

    def test_sign_in_by_browser_under_way(self):
        browser = Browser(self.desktop)

        def reach_stage() -> None:
            self.start_at_login(env={"PATH": browser.path})
            opened = len(browser.urls)
            self.interface.click("Continue with Google", LOGIN)
            browser.wait_for_url(opened + 1)

        self.check_ends(reach_stage)

    def test_login_window_after_a_sign_out(self):
        tray = StatusNotifierTray(self.desktop)

        def reach_stage() -> None:
            self.start_tarq()
            tray.wait_for_icon(self.tarq.process.pid).choose("Sign out")
            self.interface.wait_for_window(LOGIN)

        self.check_ends(reach_stage)


class WindowEndTest(WindowTestCase, DictationTestCase):
    """With an editor that has the focus, so that the bubble doesn't hide."""

    def setUp(self):
        super().setUp()
        self.tray = StatusNotifierTray(self.desktop)

    def choose(self, entry: str) -> None:
        self.tray.wait_for_icon(self.tarq.process.pid).choose(entry)

    def open_history(self) -> None:
        self.choose("Open history")
        self.interface.wait_for("Sign Out", role="push button")

    def open_settings(self) -> None:
        self.choose("Settings…")
        self.interface.wait_for_window(SETTINGS)

    def open_about(self) -> None:
        self.choose("About Tarq")
        self.interface.wait_for_window(ABOUT)

    def open_profile(self) -> None:
        Bubble(self.desktop, self.tarq.process.pid).open_menu().choose("Profile")
        self.interface.wait_for_window(PROFILE)

    def open_menu(self) -> None:
        Bubble(self.desktop, self.tarq.process.pid).open_menu()

    def check_ends_with(self, *windows) -> None:
        def reach_stage() -> None:
            self.start_tarq()
            Bubble(self.desktop, self.tarq.process.pid).wait_alone()
            for open_window in windows:
                open_window()

        self.check_ends(reach_stage)

    def test_history(self):
        self.check_ends_with(self.open_history)

    def test_settings(self):
        self.check_ends_with(self.open_settings)

    def test_about(self):
        self.check_ends_with(self.open_about)

    def test_profile(self):
        self.check_ends_with(self.open_profile)

    def test_menu_of_the_bubble(self):
        self.check_ends_with(self.open_menu)

    def test_everything_open_during_a_recording(self):
        self.check_ends_with(
            self.open_profile,
            self.open_history,
            self.open_settings,
            self.open_about,
            self.start_recording,
            self.open_menu,
        )

    def test_window_that_has_just_closed(self):
        def close_about() -> None:
            self.interface.click("Close", ABOUT)
            self.interface.wait_for_no_window(ABOUT)

        self.check_ends_with(self.open_about, close_about)


class TrayMenuEndTest(EndTestCase):
    def test_menu_of_the_icon(self):
        tray = EmbeddingTray(self.desktop)

        def reach_stage() -> None:
            self.start_tarq()
            Bubble(self.desktop, self.tarq.process.pid).wait_shown(False)
            tray.open_menu()

        self.check_ends(reach_stage)


if __name__ == "__main__":
    unittest.main()

"""Keys that are held, with the repeats of the X server, in the windows of the whole program."""

import json
import time
import unittest

from harness.bubble import Bubble
from harness.desktop import VirtualDesktop
from harness.interface import Interface
from harness.testcase import DictationTestCase, TarqTestCase

LOGIN = "Tarq — Sign In"
PROFILE = "Tarq — Profile"
SETTINGS = "Tarq — Settings"

# As an X server repeats unless it is told otherwise: the first after 660 ms, then 25 in a second.
REPEAT = ("660", "25")
HOLD_S = 1.4
CLICK_KEYS = ("space", "Return", "KP_Enter")
CAPTURING = "Press the keys you want to use, or Escape to cancel."


class HeldKeysTestCase(DictationTestCase):
    """A keyboard that repeats."""

    starts_tarq = False
    backend_is_built_in_worker = True  # which is asked to delete and to export

    def make_session(self):
        return VirtualDesktop(accessibility=True)

    def setUp(self):
        super().setUp()
        self.interface = Interface(self.desktop)
        self.desktop.run(["xset", "r", "on", "r", "rate", *REPEAT])

    def start_tarq(self, **options):
        super().start_tarq(**options)
        self.bubble = Bubble(self.desktop, self.tarq.process.pid)
        self.bubble.wait_alone()

    def open(self, entry: str, title: str) -> None:
        self.bubble.open_menu().choose(entry)
        self.wait_active(title)

    def wait_active(self, title: str) -> None:
        self.desktop.wait_until(
            lambda: any(
                e.role == "frame" and "active" in e.states for e in self.interface.elements(title)
            ),
            f"the window {title!r} to become active",
        )

    def reach(self, name: str, title: str) -> None:
        """Press Tab until this control has the keyboard."""
        for _ in range(20):
            self.desktop.press("Tab")
            if self.desktop.wait_until(lambda: self.focused(title), "the next control") == name:
                return
        self.fail(f"Tab doesn't reach {name!r}\n{self.interface.describe()}")

    def focused(self, title: str) -> str | None:
        names = [e.name for e in self.interface.elements(title) if "focused" in e.states]
        return names[-1] if names else None

    def press(self, keys: str) -> None:
        self.desktop.run(["xdotool", "keydown", keys])

    def release(self, keys: str) -> None:
        self.desktop.run(["xdotool", "keyup", keys])

    def hold(self, keys: str) -> None:
        """Until the last of the keys has been repeated about twenty times."""
        self.press(keys)
        self.wait_for_repeats()
        self.release(keys)

    def wait_for_repeats(self) -> None:
        until = time.monotonic() + HOLD_S
        self.desktop.wait_until(lambda: time.monotonic() > until, "the repeats")

    def wait_setting(self, name: str, value: object) -> None:
        self.desktop.wait_until(
            lambda: self.settings()[name] == value, f"{name} to become {value!r}"
        )

    def settings(self) -> dict[str, object]:
        return json.loads((self.tarq.config / "settings.json").read_text())


class HeldKeysTest(HeldKeysTestCase):
    def setUp(self):
        super().setUp()
        self.start_tarq()

    def test_held_key_never_deletes_the_account(self):
        self.open("Profile", PROFILE)
        self.reach("Delete account", PROFILE)
        for key in CLICK_KEYS:
            with self.subTest(key):
                self.hold(key)
                # Until the next click would be the first again.
                self.interface.wait_for("Delete account", PROFILE)
        self.assertEqual(self.backend.requests(path="/v1/account"), [])
        self.assertEqual(len(self.backend.accounts()), 1)

    def test_held_key_exports_once(self):
        self.open("Profile", PROFILE)
        self.reach("Download my data", PROFILE)
        for count, key in enumerate(("space", "Return"), start=1):
            self.hold(key)
            exports = self.backend.requests(count, answered=True, path="/v1/account/export")
            self.assertEqual(len(exports), count, key)

    def test_account_goes_at_the_second_press(self):
        self.open("Profile", PROFILE)
        self.reach("Delete account", PROFILE)
        self.hold("Return")
        self.press("Return")
        self.interface.wait_for_window(LOGIN)
        # Held on, it does nothing to the window that has come.
        self.wait_for_repeats()
        self.release("Return")
        self.assertEqual(self.backend.accounts(), [])
        self.assertEqual(len(self.backend.requests(1, path="/v1/account")), 1)
        self.interface.wait_for("Sign In", LOGIN)

    def test_held_hotkey_is_recorded_once(self):
        self.open("Settings", SETTINGS)
        self.reach("Hotkey", SETTINGS)
        self.hold("Return")
        self.reach("Recording hotkey", SETTINGS)
        for keys, name in (
            ("ctrl+space", "Ctrl+Space"),
            ("alt+Return", "Alt+Return"),
            ("shift+space", "Shift+Space"),
            ("super+Tab", "Super+Tab"),
        ):
            with self.subTest(keys):
                self.hold("space")
                self.interface.wait_for(CAPTURING, SETTINGS)
                self.hold(keys)
                self.wait_setting("recordingHotkey", name)
                shown = {element.name for element in self.interface.elements(SETTINGS)}
                self.assertNotIn(CAPTURING, shown)


class HeldKeysAtLoginTest(HeldKeysTestCase):
    def test_held_return_sends_a_password_once(self):
        self.expected_log = [r"^\[1\] Auth HTTP 400", r"^\[1\] Auth failed: Wrong email"]
        # The focus stays with the login window, which would lie beneath the editor.
        TarqTestCase.start_tarq(self, signed_in=False)
        self.interface.wait_for_window(LOGIN)
        self.interface.wait_for_no_window("Tarq")
        self.interface.fill("Email", "me@example.org", LOGIN)
        self.interface.fill("", "not the right one", LOGIN, "password text")
        self.hold("Return")
        self.interface.wait_for_text("^Wrong email or password", LOGIN)
        self.assertEqual(len(self.backend.requests(1, path="/auth/v1/token")), 1)


if __name__ == "__main__":
    unittest.main()

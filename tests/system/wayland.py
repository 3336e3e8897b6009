"""What the tests under a Wayland compositor share."""

import re
from pathlib import Path

from harness.process import Process
from harness.sway import SwaySession
from harness.testcase import DictationTestCase

GUIDE = Path(__file__).parents[2] / "docs" / "guide.md"

# The data of a clipboard that wasn't taken is never freed by Qt, and without a frame pointer in
# Qt and the Wayland libraries the report can't be told from others.
NO_LEAK_CHECK = "detect_leaks=0"


def from_guide(language: str, first_word: str) -> str:
    """A block of the guide's, which users copy."""
    block = rf"^```{language}\n({re.escape(first_word)}.*?)^```$"
    return re.search(block, GUIDE.read_text(encoding="utf-8"), re.MULTILINE | re.DOTALL)[1]


class WaylandTestCase(DictationTestCase):
    """Toggles come from the compositor's key binding."""

    starts_tarq = False
    configuration = "bindsym Mod4+space exec tarq-linux --toggle"
    qt_platform = "wayland"

    def make_session(self) -> SwaySession:
        return SwaySession()

    def start_tarq(self, path: str = "/usr/bin:/bin") -> None:
        asan = ":".join(filter(None, [self.desktop.env.get("ASAN_OPTIONS"), NO_LEAK_CHECK]))
        self.toggled = self.desktop.root / "toggled"
        self.desktop.configure(
            self.configuration.replace(
                "tarq-linux --toggle", f"{self.tarq.program} --toggle && touch {self.toggled}"
            )
        )
        super(DictationTestCase, self).start_tarq(
            env={"ASAN_OPTIONS": asan, "QT_QPA_PLATFORM": self.qt_platform},
            wrapper=["env", f"PATH={path}"],
        )
        self.desktop.wait_until(self.windows, "the splash")
        self.desktop.wait_until(lambda: not self.tiled_windows(), "the end of the splash")
        self.editor.focus()

    def send_toggle(self) -> None:
        self.desktop.press("logo+space")
        self.wait_toggled()

    def wait_toggled(self) -> None:
        self.desktop.wait_until(self.toggled.exists, "the end of the toggling process")
        self.toggled.unlink()

    def windows(self) -> list[dict]:
        return self.desktop.windows_of(self.tarq.process.pid)

    def tiled_windows(self) -> list[dict]:
        return [window for window in self.windows() if window["type"] == "con"]

    def bubble(self) -> dict:
        (bubble,) = self.windows()
        return bubble

    def wait_hidden(self) -> None:
        self.desktop.wait_until(lambda: not self.windows(), "the bubble to hide")

    def watched_paste_tool(self) -> str:
        """A PATH with a wtype that leaves its arguments in a file at its end."""
        self.pasted = self.desktop.root / "pasted"
        script = self.desktop.write(
            "wtype", f'#!/bin/sh\n/usr/bin/wtype "$@" && echo "$@" > {self.pasted}\n'
        )
        script.chmod(0o755)
        return f"{self.desktop.root}:/usr/bin:/bin"

    def wait_pasted(self) -> None:
        """Wait until the paste keys have been pressed, whatever came of it."""

        def keys() -> str:
            return self.pasted.read_text() if self.pasted.exists() else ""

        self.desktop.wait_until(keys, "the paste keys")
        self.assertEqual(keys(), "-M ctrl v -m ctrl\n")
        self.pasted.unlink()

    def hold_toggle(self) -> Process:
        """Toggle, and keep the binding's modifier pressed."""
        self.wait_toggle_guard()
        held = self.desktop.press_and_hold("logo", "space")
        self.wait_toggled()
        return held

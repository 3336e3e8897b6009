"""A private Wayland desktop with KDE's compositor."""

import shutil
import sys
from pathlib import Path

from harness.portals import start_pipewire, start_portal
from harness.session import Session

INPUT = Path(__file__).with_name("kwin_input.py")
BUTTONS = {1: 272, 3: 273}  # left and right, as evdev numbers them
SUPER, SPACE = 125, 57


class KwinSession(Session):
    """KWin without a screen, with XWayland and KDE's desktop portal.

    Every program may press keys: nobody is there to allow it.
    """

    def __init__(self) -> None:
        super().__init__(dbus=True)

    def bring_up(self) -> None:
        super().bring_up()
        self.env |= {
            "XDG_SESSION_TYPE": "wayland",
            "XDG_CURRENT_DESKTOP": "KDE",
            "QT_QPA_PLATFORM": "wayland",
            "WAYLAND_DISPLAY": "wayland-0",
            "KWIN_WAYLAND_NO_PERMISSION_CHECKS": "1",
        }
        # The portal's back end shares its plugin with that for screencasts.
        start_pipewire(self)
        # KWin keeps the output of what runs in it to itself.
        ready = self.root / "ready"
        session = f'echo "$DISPLAY;$XAUTHORITY" > {ready}.new; mv {ready}.new {ready}'
        screen = ["--virtual", "--width", 1280, "--height", 800, "--no-lockscreen"]
        self.spawn(
            [self._compositor(), *screen, "--socket", "wayland-0", "--xwayland"]
            + ["--exit-with-session", self._script("session", f"{session}; exec sleep infinity")],
            env={"QT_QPA_PLATFORM": ""},
        )
        self.wait_until(ready.exists, "KWin's session")
        display, authority = ready.read_text().strip().split(";")
        self.env["DISPLAY"] = display
        if authority:
            self.env["XAUTHORITY"] = authority
        self.run(["xhost", "+local:"])
        hands = self.spawn([sys.executable, INPUT], name="hands")
        hands.wait_for_line("^plugged in$")
        start_portal(self, "kde")

    def plug_in_pointer(self) -> None:
        """It is there already."""

    def click(self, x: int, y: int, button: int = 1) -> None:
        self._input(f"{x},{y}", f"down:{BUTTONS[button]}", f"up:{BUTTONS[button]}")

    def hold_super_and_space(self, seconds: float) -> None:
        self._input(f"hold:{seconds}:{SUPER}+{SPACE}")

    def activate(self, pid: int) -> None:
        """Nothing: a window that opens gets the focus."""

    def screenshot(self, path: Path | str) -> None:
        self.run(["grim", path])

    def clipboard(self) -> str:
        return self.run(["wl-paste", "--no-newline"], check=False).stdout

    def set_clipboard(self, text: str) -> None:
        self.run(["wl-copy"], stdin=text)

    def _input(self, *steps: str) -> None:
        self.run([sys.executable, INPUT, *steps])

    def _compositor(self) -> Path:
        """A copy of KWin without its capabilities, with which a container may refuse to run it."""
        return Path(shutil.copyfile("/usr/bin/kwin_wayland", self._script("kwin_wayland", "")))

    def _script(self, name: str, command: str) -> Path:
        script = self.write(name, f"#!/bin/sh\n{command}\n")
        script.chmod(0o755)
        return script

"""A private Wayland desktop with GNOME's shell."""

import re
import sys
from pathlib import Path

from harness.portals import start_portal
from harness.session import Session

INPUT = Path(__file__).with_name("gnome_input.py")
BUTTONS = {1: 272, 3: 273}  # left and right, as evdev numbers them

DIALOG = "Remote Desktop"


class GnomeSession(Session):
    """GNOME's shell without a screen, with XWayland and GNOME's desktop portal.

    without_systemd is a library for the shell, which believes to run under systemd
    where the container's control groups look like that.
    """

    def __init__(self, without_systemd: Path) -> None:
        super().__init__(dbus=True)
        self._without_systemd = without_systemd

    def bring_up(self) -> None:
        super().bring_up()
        self.env |= {
            "XDG_SESSION_TYPE": "wayland",
            "XDG_CURRENT_DESKTOP": "GNOME",
            "QT_QPA_PLATFORM": "wayland",
            "GSETTINGS_BACKEND": "memory",
        }
        self._start_system_bus()
        self.spawn(["pipewire"])
        self.wait_for_socket(self.runtime / "pipewire-0", "PipeWire")
        self.spawn(["wireplumber"])
        self._start_shell()
        self.run(["xhost", "+local:"])
        hands = self.spawn([sys.executable, INPUT], name="hands")
        hands.wait_for_line("^plugged in$")
        start_portal(self, "gnome")

    def plug_in_pointer(self) -> None:
        """It is there already."""

    def click(self, x: int, y: int, button: int = 1) -> None:
        steps = [f"{x},{y}", f"down:{BUTTONS[button]}", f"up:{BUTTONS[button]}"]
        self.run([sys.executable, INPUT, *steps])

    def activate(self, pid: int) -> None:
        """Nothing: a window that opens gets the focus."""

    def screenshot(self, path: Path | str) -> None:
        self.evaluate(
            f"let f = imports.gi.Gio.File.new_for_path('{path}').replace(null, false, 0, null);"
            "new imports.gi.Shell.Screenshot().screenshot(false, f, () => f.close(null)); 1"
        )

    def clipboard(self) -> str:
        return self.run(["xclip", "-selection", "clipboard", "-o"], check=False).stdout

    def set_clipboard(self, text: str) -> None:
        self.run(["xclip", "-selection", "clipboard"], stdin=text)

    def evaluate(self, script: str) -> str:
        """What the shell makes of a line of JavaScript, as gdbus writes it."""
        shell = ["--dest", "org.gnome.Shell", "--object-path", "/org/gnome/Shell"]
        call = ["gdbus", "call", "--session", *shell, "--method", "org.gnome.Shell.Eval", script]
        return self.run(call, check=False).stdout.strip()

    def _start_system_bus(self) -> None:
        bus = self.spawn(
            ["dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address"],
            name="system bus",
        )
        self.env["DBUS_SYSTEM_BUS_ADDRESS"] = bus.wait_for_line("^unix:.*")[0]
        self.spawn(
            [sys.executable, "-m", "dbusmock", "--system", "--template", "logind"], name="logind"
        )
        ask = ["dbus-send", "--system", "--print-reply", "--dest=org.freedesktop.DBus", "/"]
        question = [*ask, "org.freedesktop.DBus.NameHasOwner", "string:org.freedesktop.login1"]
        self.wait_until(
            lambda: "boolean true" in self.run(question, check=False).stdout, "logind"
        )

    def _start_shell(self) -> None:
        screen = ["--headless", "--virtual-monitor", "1280x800"]
        shell = self.spawn(
            ["gnome-shell", *screen, "--unsafe-mode", "--wayland-display", "wayland-0"],
            env={"LD_PRELOAD": str(self._without_systemd), "QT_QPA_PLATFORM": ""},
        )
        self.env["WAYLAND_DISPLAY"] = "wayland-0"
        self.env["DISPLAY"] = shell.wait_for_line(r"Using public X11 display (:\d+)")[1]
        ready = "Main.layoutManager._startingUp === false"
        self.wait_until(lambda: self.evaluate(ready).endswith("'true')"), "GNOME's shell")
        authority = self.wait_until(
            lambda: list(self.runtime.glob(".mutter-Xwaylandauth.*")), "the X server's cookie"
        )
        self.env["XAUTHORITY"] = str(authority[0])
        self.evaluate("Main.overview.hide()")
        hidden = "Main.overview.visible === false"
        self.wait_until(lambda: self.evaluate(hidden).endswith("'true')"), "the empty desktop")

    def windows(self) -> list[str]:
        """The titles of all windows."""
        titles = "global.get_window_actors().map(a => a.meta_window.get_title()).join('\\n')"
        return re.sub(r"^\(true, '\"?|\"?'\)$", "", self.evaluate(titles)).split("\\n")

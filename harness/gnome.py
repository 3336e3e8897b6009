"""A private Wayland desktop with GNOME's shell."""

import re
import sys
from pathlib import Path

from harness.portals import start_pipewire, start_portal, wait_for_name
from harness.session import Session

INPUT = Path(__file__).with_name("gnome_input.py")
BUTTONS = {1: 272, 3: 273}  # left and right, as evdev numbers them

# The dialog of the portal, and where its controls lie in it.
DIALOG = "Remote desktop"
SWITCH, SHARE, CANCEL = (430, 74), (453, 23), (50, 23)


class GnomeSession(Session):
    """GNOME's shell without a screen, with XWayland and GNOME's desktop portal."""

    def __init__(self) -> None:
        super().__init__(dbus=True)

    def bring_up(self) -> None:
        super().bring_up()
        self.env |= {
            "XDG_SESSION_TYPE": "wayland",
            "XDG_CURRENT_DESKTOP": "GNOME",
            "QT_QPA_PLATFORM": "wayland",
            "GSETTINGS_BACKEND": "memory",
        }
        self._start_system_bus()
        start_pipewire(self)
        self._start_shell()
        self.run(["xhost", "+local:"])
        hands = self.spawn([sys.executable, INPUT], name="hands")
        hands.wait_for_line("^plugged in$")
        start_portal(self, "gnome")

    def plug_in_pointer(self) -> None:
        """It is there already."""

    def click(self, x: int, y: int, button: int = 1) -> None:
        self._press((x, y), button=button)

    def allow_keys(self) -> None:
        """Answer the portal's question whether a program may press keys."""
        self._answer(SWITCH, SHARE)

    def refuse_keys(self) -> None:
        self._answer(CANCEL)

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

    def _answer(self, *controls: tuple[int, int]) -> None:
        x, y, *_size = self.wait_until(lambda: self.focused_window(DIALOG), "the portal's question")
        self._press(*((x + dx, y + dy) for dx, dy in controls))
        self.wait_until(lambda: not self.focused_window(DIALOG), "the end of the question")

    def _press(self, *points: tuple[int, int], button: int = 1) -> None:
        press = [f"down:{BUTTONS[button]}", f"up:{BUTTONS[button]}"]
        steps = [step for x, y in points for step in (f"{x},{y}", *press)]
        self.run([sys.executable, INPUT, *steps])

    def _start_system_bus(self) -> None:
        bus = self.spawn(
            ["dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address"],
            name="system bus",
        )
        self.env["DBUS_SYSTEM_BUS_ADDRESS"] = bus.wait_for_line("^unix:.*")[0]
        self.spawn(
            [sys.executable, "-m", "dbusmock", "--system", "--template", "logind"], name="logind"
        )
        wait_for_name(self, "org.freedesktop.login1", bus="system")

    def _start_shell(self) -> None:
        screen = ["--headless", "--virtual-monitor", "1280x800"]
        shell = self.spawn(
            ["gnome-shell", *screen, "--unsafe-mode", "--wayland-display", "wayland-0"]
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

    def focused_window(self, title: str) -> tuple[int, ...] | None:
        """x, y, width and height of the window with this title, if it has the focus."""
        found = self.evaluate(
            "global.get_window_actors().map(a => a.meta_window)"
            f".filter(w => w.has_focus() && w.get_title() === '{title}')"
            ".map(w => w.get_frame_rect()).map(r => [r.x, r.y, r.width, r.height].join(' ')).join(';')"
        )
        place = re.search(r"(-?\d+) (-?\d+) (\d+) (\d+)", found)
        return tuple(map(int, place.groups())) if place else None

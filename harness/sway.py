"""A private Wayland desktop."""

import json
import os
import pwd
import sys
from pathlib import Path

from harness.process import Process, User
from harness.session import Session

# The readiness line comes from sway itself, once the configuration has been run.
CONFIG = """\
xwayland {xwayland}
output HEADLESS-1 resolution 1280x800 background #3d5a73 solid_color
default_border normal
focus_follows_mouse no
focus_on_window_activation focus
exec echo "ready on $WAYLAND_DISPLAY, $DISPLAY"
"""

POINTER = Path(__file__).with_name("wayland_pointer.py")

# Longer than any session. A seat without a keyboard gets none of the keys that are
# typed before the focused window has met the new keyboard, so one stays plugged in.
KEYBOARD_MS = 24 * 3600 * 1000


def unprivileged_user() -> User | None:
    """Somebody else for root, since sway refuses to run as root."""
    if os.geteuid() != 0:
        return None
    account = pwd.getpwnam(os.environ.get("TARQ_HARNESS_USER", "nobody"))
    return User(account.pw_uid, account.pw_gid)


class SwaySession(Session):
    """A headless Wayland compositor; everything in it runs as an unprivileged user.

    With xwayland it runs X11 programs, too.
    """

    def __init__(self, *, dbus: bool = True, xwayland: bool = False) -> None:
        super().__init__(dbus=dbus, user=unprivileged_user())
        self._xwayland = xwayland

    def bring_up(self) -> None:
        super().bring_up()
        xwayland = "enable" if self._xwayland else "disable"
        self._config = self.write("sway.conf", CONFIG.format(xwayland=xwayland))
        self.env |= {
            "SWAYSOCK": str(self.runtime / "sway.sock"),
            "WLR_BACKENDS": "headless",
            "WLR_RENDERER": "pixman",
            "WLR_LIBINPUT_NO_DEVICES": "1",
            "XDG_SESSION_TYPE": "wayland",
            "XDG_CURRENT_DESKTOP": "sway",
            "QT_QPA_PLATFORM": "wayland",
        }
        if self.user is not None:
            # A program built to count what it reaches counts where it was built, and complains if
            # it may not. GCC's runtime takes this place instead.
            self.env["GCOV_PREFIX"] = str(self.tmp / "coverage")
        compositor = self.spawn(["sway", "--config", self._config])
        ready = compositor.wait_for_line(r"ready on (\S+), (\S*)$")
        self.env["WAYLAND_DISPLAY"] = ready[1]
        if self._xwayland:
            self.env["DISPLAY"] = ready[2]
            # The harness itself looks at the windows, too.
            self.run(["xhost", "+local:"])
        self.spawn(["wtype", "-s", KEYBOARD_MS], name="keyboard")

    def configure(self, lines: str) -> None:
        """Add lines to the configuration, and have it read again."""
        with open(self._config, "a", encoding="utf-8") as config:
            config.write(lines)
        self.run(["swaymsg", "reload"])

    def plug_in_pointer(self) -> None:
        pointer = self.spawn([sys.executable, self.reachable(POINTER)], name="pointer")
        pointer.wait_for_line("^plugged in$")

    def click(self, x: int, y: int, button: int = 1) -> None:
        steps = [f"set {x} {y}", f"press button{button}", f"release button{button}"]
        self.run(["swaymsg", ", ".join(f"seat - cursor {step}" for step in steps)])

    def screenshot(self, path: Path | str) -> None:
        # Taken as the session's user, who may not write where the picture goes.
        picture = self.tmp / "screenshot.png"
        self.run(["grim", picture])
        Path(path).write_bytes(picture.read_bytes())

    def clipboard(self) -> str:
        """The clipboard's text, empty if nobody owns it."""
        return self.run(["wl-paste", "--no-newline"], check=False).stdout

    def set_clipboard(self, text: str) -> None:
        self.run(["wl-copy"], stdin=text)

    def active_window(self) -> int | None:
        """The process id of the window that has the focus."""
        return next((node["pid"] for node in self._windows() if node["focused"]), None)

    def windows_of(self, pid: int) -> list[dict]:
        """The windows of a process that are on the screen, as sway describes them."""
        return [node for node in self._windows() if node["pid"] == pid]

    def activate(self, pid: int) -> None:
        """Focus the window of a process, once it is there."""

        def granted() -> bool:
            if self.active_window() == pid:
                return True
            self.run(["swaymsg", f"[pid={pid}] focus"], check=False)
            return False

        self.wait_until(granted, f"the window of process {pid} to become active")

    def press(self, keys: str) -> None:
        """Press a combination such as "ctrl+v" in the focused window."""
        *modifiers, key = keys.split("+")
        down = [word for name in modifiers for word in ("-M", name)]
        up = [word for name in reversed(modifiers) for word in ("-m", name)]
        self.run(["wtype", *down, "-k", key, *up])

    def press_and_hold(self, modifier: str, key: str) -> Process:
        """Press a combination, and hold its modifier down until the process is stopped."""
        keys = ["-M", modifier, "-k", key, "-s", KEYBOARD_MS, "-m", modifier]
        return self.spawn(["wtype", *keys], name=f"held {modifier}")

    def type(self, text: str) -> None:
        self.run(["wtype", text])

    def _windows(self) -> list[dict]:
        nodes = [json.loads(self.run(["swaymsg", "--raw", "--type", "get_tree"]).stdout)]
        windows = []
        while nodes:
            node = nodes.pop()
            nodes += node["nodes"] + node["floating_nodes"]
            if "pid" in node:
                windows.append(node)
        return windows

"""A private X11 desktop."""

from pathlib import Path

from harness.process import DEADLINE_S
from harness.session import Session

SCREEN = "1280x800x24"
ACCESSIBILITY_BUS = "/usr/libexec/at-spi-bus-launcher"
OPENBOX_CONFIG = Path(__file__).with_name("openbox.xml")


class VirtualDesktop(Session):
    """An X server with a window manager, in a home of its own.

    A compositor is wanted where translucent windows are looked at, a session bus by
    what talks over D-Bus, and accessibility by whoever reads the windows; all cost
    start-up time, so all are optional.
    """

    def __init__(
        self,
        *,
        dbus: bool = True,
        accessibility: bool = False,
        compositor: bool = False,
        window_manager: str = "openbox",
        screen: str = SCREEN,
    ) -> None:
        super().__init__(dbus=dbus or accessibility)
        self._accessibility = accessibility
        self._compositor = compositor
        self._window_manager = window_manager
        self._screen = screen

    def bring_up(self) -> None:
        super().bring_up()
        if self._accessibility:
            self._start_accessibility()
        self._start_server()
        self._start_window_manager()
        if self._compositor:
            self._start_compositor()

    def screenshot(self, path: Path | str) -> None:
        # By its full path: other tools of the same short name are found first on some machines.
        self.run(["/usr/bin/import", "-window", "root", path])

    def clipboard(self) -> str:
        """The clipboard's text, empty if nobody owns it."""
        return self.run(["xclip", "-selection", "clipboard", "-o"], check=False).stdout

    def set_clipboard(self, text: str) -> None:
        self.run(["xclip", "-selection", "clipboard"], stdin=text)

    def active_window(self) -> str | None:
        """The decimal id of the window that has the focus, as xdotool writes it."""
        found = self.run(["xdotool", "getactivewindow"], check=False)
        return found.stdout.strip() if found.returncode == 0 else None

    def window_of(self, pid: int, timeout: float = DEADLINE_S) -> str:
        """Wait for the first visible window of a process."""
        # xdotool's own --sync looks only twice a second.
        search = ["xdotool", "search", "--onlyvisible", "--pid", pid]
        return self.wait_until(
            lambda: self.run(search, check=False).stdout.split(), f"a window of {pid}", timeout
        )[0]

    def activate(self, pid: int) -> None:
        """Focus the window of a process.

        A request that the window manager gets while it is still busy with the
        window's arrival is lost, so it is repeated until it has been granted.
        """
        window = self.window_of(pid)

        def granted() -> bool:
            if self.active_window() == window:
                return True
            self.run(["xdotool", "windowactivate", window], check=False)
            return False

        self.wait_until(granted, f"window {window} of process {pid} to become active")

    def restart_window_manager(self) -> None:
        self.manager.stop()
        self._start_window_manager()

    def press(self, keys: str) -> None:
        """Press a combination such as "ctrl+v" in the focused window."""
        self.run(["xdotool", "key", "--clearmodifiers", keys])

    def type(self, text: str) -> None:
        """Type ASCII text; xdotool loses what the keyboard layout doesn't have."""
        self.run(["xdotool", "type", text])

    def _start_accessibility(self) -> None:
        launcher = self.spawn([ACCESSIBILITY_BUS, "--launch-immediately"])
        ask = ["dbus-send", "--session", "--print-reply", "--dest=org.a11y.Bus", "/org/a11y/bus"]
        self.wait_until(
            lambda: self.run([*ask, "org.a11y.Bus.GetAddress"], check=False).returncode == 0
            or launcher.status is not None,
            "the accessibility bus",
        )
        self.env["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"

    def _start_server(self) -> None:
        # Display numbers are given by the server, so that desktops never clash.
        self.server = self.spawn(
            ["Xvfb", "-displayfd", "1", "-nolisten", "tcp", "-screen", "0", self._screen, "-noreset"]
        )
        number = self.server.wait_for_line(r"^(\d+)$")[1]
        self.env |= {
            "DISPLAY": f":{number}",
            "XDG_SESSION_TYPE": "x11",
            "QT_QPA_PLATFORM": "xcb",
        }

    def _start_window_manager(self) -> None:
        if self._window_manager == "openbox":
            self._start_openbox()
        else:
            self._start_other_window_manager(self._window_manager)

    def _start_openbox(self) -> None:
        # It calls itself the window manager early, and loses the windows that come before the end
        # of its start-up, which is when it runs this command.
        started = self.tmp / "openbox.started"
        started.unlink(missing_ok=True)
        options = ["--sm-disable", "--config-file", OPENBOX_CONFIG, "--startup", f"touch {started}"]
        self.manager = self.spawn(["openbox", *options])
        self.wait_until(started.exists, "openbox")

    def _start_other_window_manager(self, command: str) -> None:
        # All properties: xprop doesn't watch one whose name the server hasn't met yet.
        watcher = self.spawn(["xprop", "-root", "-spy"])
        self.manager = self.spawn([command])
        watcher.wait_for_line("^_NET_SUPPORTING_WM_CHECK.*window id #")
        watcher.stop()

    def _start_compositor(self) -> None:
        # The file is written once the screen is taken over.
        started = self.tmp / "picom.pid"
        self.spawn(
            ["picom", "--config", "/dev/null", "--backend", "xrender", "--write-pid-path", started]
        )
        self.wait_until(started.exists, "the compositor")

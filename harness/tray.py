"""The two kinds of tray that a desktop may have, and the program's icon in them."""

import re
import sys
from pathlib import Path

from gi.repository import Gio, GLib

from harness.bubble import Menu
from harness.desktop import VirtualDesktop
from harness.portals import has_name
from harness.x11 import has_tray, look_at

# The menu of the program's icon; None is a separator.
ENTRIES = (
    "Show / Hide bubble",
    None,
    "Open history",
    "Settings…",
    "About Tarq",
    None,
    "Sign out",
    "Quit",
)

WATCHER = Path(__file__).with_name("status_notifier_watcher.py")
ITEM = "org.kde.StatusNotifierItem"
MENU = "com.canonical.dbusmenu"
PROPERTIES = "org.freedesktop.DBus.Properties"


class StatusNotifierTray:
    """A tray that takes its icons over the session bus; ends with the session."""

    def __init__(self, desktop: VirtualDesktop) -> None:
        self._desktop = desktop
        self._watcher = desktop.spawn([sys.executable, WATCHER], name="tray")
        self._watcher.wait_for_line("^ready$")

    def has_icon(self, pid: int) -> bool:
        """Whether a process has put its icon there."""
        return bool(self._icons_there(pid))

    def wait_for_icon(self, pid: int) -> "StatusNotifierIcon":
        # Among many processes a number comes again.
        name = self._desktop.wait_until(lambda: self._icons_there(pid), "the icon")[-1]
        return StatusNotifierIcon(self._desktop, name)

    def _icons_there(self, pid: int) -> list[str]:
        told = (re.fullmatch(rf"icon (\S+) of {pid}", line) for line in self._watcher.lines)
        return [match[1] for match in told if match and has_name(self._desktop, match[1])]


class StatusNotifierIcon:
    """An icon in such a tray. Each click returns when the program has acted on it."""

    def __init__(self, desktop: VirtualDesktop, name: str) -> None:
        self._name = name
        self._bus = Gio.DBusConnection.new_for_address_sync(
            desktop.env["DBUS_SESSION_BUS_ADDRESS"],
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION,
        )

    def property(self, name: str):
        arguments = GLib.Variant("(ss)", (ITEM, name))
        return self._call("/StatusNotifierItem", PROPERTIES, "Get", arguments)[0]

    def tool_tip(self) -> str:
        _icon, _pictures, title, _text = self.property("ToolTip")
        return title

    def click(self) -> None:
        self._activate("Activate")

    def middle_click(self) -> None:
        self._activate("SecondaryActivate")

    def right_click(self) -> None:
        """What a tray calls that leaves the menu to the program."""
        self._activate("ContextMenu")

    def entries(self) -> tuple[str | None, ...]:
        """The texts in the menu, None for a separator."""
        return tuple(entry.get("label") for _number, entry in self._entries())

    def choose(self, label: str) -> None:
        numbers = [number for number, entry in self._entries() if entry.get("label") == label]
        event = GLib.Variant("(isvu)", (numbers[0], "clicked", GLib.Variant("i", 0), 0))
        self._call(self.property("Menu"), MENU, "Event", event)

    def _entries(self) -> list[tuple[int, dict]]:
        everything = GLib.Variant("(iias)", (0, -1, []))
        answer = self._call(self.property("Menu"), MENU, "GetLayout", everything)
        _revision, (_root, _properties, children) = answer
        return [(number, entry) for number, entry, _submenu in children]

    def _activate(self, method: str) -> None:
        self._call("/StatusNotifierItem", ITEM, method, GLib.Variant("(ii)", (0, 0)))

    def _call(self, path: str, interface: str, method: str, arguments: GLib.Variant):
        no_limit = Gio.DBusCallFlags.NONE, -1
        return self._bus.call_sync(
            self._name, path, interface, method, arguments, None, *no_limit
        ).unpack()


class EmbeddingTray:
    """A tray of the older kind, which takes the windows of icons into its own.

    It lies in the upper left corner, and has room for one icon.
    """

    ICON = (12, 12)
    SIZE = (24, 24)
    TOOL_TIP = 60  # no tool tip is as high

    def __init__(self, desktop: VirtualDesktop) -> None:
        self._desktop = desktop
        place = ["--edge", "top", "--align", "left", "--SetDockType", "true"]
        size = ["--widthtype", "pixel", "--width", self.SIZE[0], "--height", self.SIZE[1]]
        desktop.spawn(["trayer", *place, *size])
        desktop.wait_until(lambda: has_tray(desktop.env["DISPLAY"]), "the tray")

    def hover(self) -> None:
        # A tool tip needs motions inside the icon after the one that enters it, and of several at
        # once only the last is seen.
        x, y = self.ICON
        for left in (4, 3, 2, 1, 0):
            self._pointer("mousemove", "--sync", x - left, y)

    def click(self, button: int = 1) -> None:
        self.hover()
        self._pointer("click", button)

    def press_again(self) -> None:
        """Click with a pointer that has stayed where it was."""
        self._pointer("click", 1)

    def open_menu(self) -> "EmbeddingTrayMenu":
        self.click(button=3)
        opened = self._desktop.wait_until(
            lambda: [window for window in self.windows() if self._is_menu(window)], "the menu"
        )
        return EmbeddingTrayMenu(self._desktop, opened[0])

    def windows(self) -> set[str]:
        """All of the program that shows, with tool tips and menus."""
        search = ["xdotool", "search", "--onlyvisible", "--class", "^Tarq$"]
        return set(self._desktop.run(search, check=False).stdout.split())

    def _is_menu(self, window: str) -> bool:
        """Of what passes by the window manager, the menu is higher than any tool tip."""
        at = look_at(self._desktop.env["DISPLAY"], window)
        return at is not None and at.override_redirect and at.height > self.TOOL_TIP

    def _pointer(self, *words: object) -> None:
        self._desktop.run(["xdotool", *words])


class EmbeddingTrayMenu(Menu):
    """The icon's menu, which the program itself shows there."""

    ENTRIES = ENTRIES
    SEPARATOR = 2

    def choose(self, entry: str) -> None:
        at = self.geometry()
        separators = self.ENTRIES.count(None)
        row = (at.height - separators * self.SEPARATOR) // (len(self.ENTRIES) - separators)
        above = self.ENTRIES[: self.ENTRIES.index(entry)]
        y = at.y + sum(row if label else self.SEPARATOR for label in above) + row // 2
        self._desktop.run(["xdotool", "mousemove", "--sync", at.x + at.width // 2, y, "click", 1])

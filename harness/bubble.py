"""Tarq's bubble, as the pointer meets it."""

from harness.desktop import VirtualDesktop
from harness.process import DEADLINE_S
from harness.x11 import Window, keyboard_is_grabbed, look_at

SIZE = (138, 110)
# The middle of the pill in the bubble's window.
GRIP = (69, 43)


def seen(desktop: VirtualDesktop, window: str) -> Window:
    """How a window lies, which has to be there."""
    found = look_at(desktop.env["DISPLAY"], window)
    assert found, f"window {window} has gone\n{desktop.logs()}"
    return found


class Bubble:
    """The window of a program's bubble, once it shows."""

    def __init__(self, desktop: VirtualDesktop, pid: int) -> None:
        self._desktop = desktop
        self._pid = pid
        # At a start the splash lies above it.
        self.window = desktop.wait_until(lambda: self._window_of(SIZE), "the bubble")

    def geometry(self) -> Window:
        return seen(self._desktop, self.window)

    def is_shown(self) -> bool:
        return self.geometry().shown

    def wait_shown(self, shown: bool = True, timeout: float = DEADLINE_S) -> None:
        word = "show" if shown else "hide"
        self._desktop.wait_until(lambda: self.is_shown() == shown, f"the bubble to {word}", timeout)

    def wait_alone(self) -> None:
        """Wait until nothing else of the program shows, such as the splash at a start."""
        self._desktop.wait_until(
            lambda: self.windows() == [self.window], "the bubble to be the only window"
        )

    def windows(self) -> list[str]:
        """All of the program's that show."""
        search = ["xdotool", "search", "--onlyvisible", "--pid", self._pid]
        return self._desktop.run(search, check=False).stdout.split()

    def property(self, name: str) -> str:
        """The value of a window property, as xprop writes it."""
        text = self._desktop.run(["xprop", "-id", self.window, name]).stdout.strip()
        return text.partition("= ")[2]

    def point(self, x: int = GRIP[0], y: int = GRIP[1]) -> tuple[int, int]:
        """A point of the window, on the screen."""
        at = self.geometry()
        return at.x + x, at.y + y

    def hover(self) -> None:
        # Not with --sync, which waits long for a pointer that is there already.
        self._pointer("mousemove", *self.point())

    def click(self, button: int = 1) -> None:
        self.hover()
        self._pointer("click", button)

    def drag(self, dx: int, dy: int) -> None:
        """From the pill, in steps that a window manager can follow."""
        x, y = self.point()
        self._pointer("mousemove", "--sync", x, y, "mousedown", 1)
        steps = 8
        for step in range(1, steps + 1):
            self._pointer("mousemove", x + dx * step // steps, y + dy * step // steps)
        self._pointer("mouseup", 1)

    def open_menu(self) -> "Menu":
        self.click(button=3)
        return self.wait_menu()

    def wait_menu(self) -> "Menu":
        """The menu, once it takes what is pressed."""
        opened = self._desktop.wait_until(lambda: self._window_of(Menu.SIZE), "the menu")
        # Before, keys and presses would go where they went without it.
        display = self._desktop.env["DISPLAY"]
        self._desktop.wait_until(lambda: keyboard_is_grabbed(display), "the menu's grab")
        return Menu(self._desktop, opened)

    def _window_of(self, size: tuple[int, int]) -> str | None:
        """The program's visible window of this size."""
        for window in self.windows():
            at = look_at(self._desktop.env["DISPLAY"], window)
            if at and (at.width, at.height) == size:  # some go by themselves
                return window
        return None

    def _pointer(self, *words) -> None:
        self._desktop.run(["xdotool", *words])


class Menu:
    """The bubble's context menu."""

    ROW = 36
    INSET = 4
    ENTRIES = ("Profile", "History", "Settings", "About Tarq", "Quit Tarq")
    SIZE = (180, len(ENTRIES) * ROW + 1 + 2 * INSET)

    def __init__(self, desktop: VirtualDesktop, window: str) -> None:
        self._desktop = desktop
        self.window = window

    def geometry(self) -> Window:
        return seen(self._desktop, self.window)

    def point(self, entry: str) -> tuple[int, int]:
        """The middle of an entry, on the screen."""
        at = self.geometry()
        index = self.ENTRIES.index(entry)
        separator = 1 if entry == "Quit Tarq" else 0
        y = at.y + self.INSET + index * self.ROW + separator + self.ROW // 2
        return at.x + at.width // 2, y

    def choose(self, entry: str) -> None:
        self._desktop.run(["xdotool", "mousemove", "--sync", *self.point(entry), "click", 1])

    def wait_closed(self) -> None:
        def gone() -> bool:
            at = look_at(self._desktop.env["DISPLAY"], self.window)
            return at is None or not at.shown

        self._desktop.wait_until(gone, "the menu to close")

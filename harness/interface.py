"""The program's windows, read as assistive technology reads them, and used by pointer and keys."""

import json
import re
import subprocess
import sys
from dataclasses import dataclass
from pathlib import Path

from harness.desktop import VirtualDesktop
from harness.process import DEADLINE_S, DeadlineExceeded, guarded

PROGRAM = Path(__file__).with_name("accessibility_tree.py")

# Releases name some roles differently.
Role = str | tuple[str, ...]


@dataclass(frozen=True)
class Element:
    """A control or a text on the screen."""

    window: str
    role: str
    name: str
    text: str | None
    box: tuple[int, int, int, int] | None
    states: frozenset[str]

    @property
    def centre(self) -> tuple[int, int]:
        assert self.box, f"{self} has no place on the screen"
        x, y, width, height = self.box
        return x + width // 2, y + height // 2


class Tree:
    """Asks what there is; ends with the session."""

    def __init__(self, desktop: VirtualDesktop) -> None:
        self._popen = subprocess.Popen(
            guarded([sys.executable, PROGRAM], desktop.user),
            env=desktop.env,
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,  # of an answer that fails
            text=True,
        )
        desktop.processes.append(self)

    def nodes(self) -> list[dict]:
        print(file=self._popen.stdin, flush=True)
        return json.loads(self._popen.stdout.readline())

    def log(self) -> str:
        return "--- accessibility tree"

    def stop(self) -> None:
        with self._popen:
            self._popen.kill()


class Interface:
    """Everything that a program on a desktop with accessibility shows."""

    def __init__(self, desktop: VirtualDesktop) -> None:
        self._desktop = desktop
        self._tree = Tree(desktop)

    def elements(self, window: str | None = None) -> list[Element]:
        """What is shown now, of all windows or of those with this title."""
        found = [
            Element(
                node["window"],
                node["role"],
                node["name"],
                node["text"],
                tuple(node["box"]) if node["box"] else None,
                frozenset(node["states"]),
            )
            for node in self._tree.nodes()
        ]
        return [
            element
            for element in found
            if "showing" in element.states and window in (None, element.window)
        ]

    def wait_for(
        self, name: str, window: str | None = None, role: Role | None = None
    ) -> Element:
        """Wait for an element of exactly this name, and of this role or one of these."""
        roles = (role,) if isinstance(role, str) else role

        def named() -> list[Element]:
            return [
                element
                for element in self.elements(window)
                if element.name == name and (roles is None or element.role in roles)
            ]

        try:
            return self._desktop.wait_until(named, f"the element {name!r}")[0]
        except DeadlineExceeded as error:
            raise DeadlineExceeded(f"{error}\n{self.describe()}") from None

    def wait_for_text(self, pattern: str, window: str | None = None) -> str:
        """Wait for a name or a text that this regular expression finds, and return it."""

        def shown() -> list[str]:
            words = (word for e in self.elements(window) for word in (e.name, e.text))
            return [word for word in words if word and re.search(pattern, word)]

        try:
            return self._desktop.wait_until(shown, f"the text {pattern!r}")[0]
        except DeadlineExceeded as error:
            raise DeadlineExceeded(f"{error}\n{self.describe()}") from None

    def wait_for_window(self, title: str, timeout: float = DEADLINE_S) -> Element:
        def shown() -> list[Element]:
            return [e for e in self.elements(title) if e.name == title and e.role == "frame"]

        return self._desktop.wait_until(shown, f"the window {title!r}", timeout)[0]

    def wait_for_no_window(self, title: str) -> None:
        self._desktop.wait_until(lambda: not self.elements(title), f"{title!r} to go")

    def click(self, name: str, window: str | None = None, role: Role | None = None) -> None:
        x, y = self.wait_for(name, window, role).centre
        # Without --sync, which waits for 15 seconds if the pointer is there already.
        self._desktop.run(["xdotool", "mousemove", x, y, "click", 1])

    def fill(
        self, name: str, text: str, window: str | None = None, role: str | None = None
    ) -> None:
        """Click into a field, and type over what stands there."""
        self.click(name, window, role)
        self._desktop.press("ctrl+a")
        self._desktop.type(text)

    def describe(self) -> str:
        """For the report of a failure."""
        return "\n".join(
            f"{e.window}: {e.role} {e.name!r} {e.text!r} {e.box}" for e in self.elements()
        )

"""The windows that text is dictated into."""

import re
from pathlib import Path
from typing import Callable

from harness.process import DEADLINE_S
from harness.session import Session

# Everything typed goes to the screen and to a file, as it is: no line editing, no
# signals, and "\r" for the return key.
RAW_READER = 'stty raw -echo && exec tee "$1"'
PASTE_BINDING = (
    "XTerm*VT100.translations: #override Ctrl Shift <Key>V: insert-selection(CLIPBOARD)"
)

Expected = str | re.Pattern


def matches(text: str, expected: Expected) -> bool:
    """A pattern is searched for, a plain string is the whole text."""
    return bool(expected.search(text)) if isinstance(expected, re.Pattern) else text == expected


class Target:
    """A window whose content can be read from a file."""

    _started = 0

    def __init__(self, session: Session, kind: str) -> None:
        Target._started += 1
        self.session = session
        self._content = session.tmp / f"{kind}-{Target._started}.txt"

    def text(self) -> str:
        # newline="": a terminal's "\r" must stay one.
        try:
            with open(self._content, encoding="utf-8", newline="") as content:
                return content.read()
        except FileNotFoundError:
            return ""

    def focus(self) -> None:
        self.session.activate(self.process.pid)

    def close(self) -> None:
        """Close the window; it is gone when this returns."""
        self.process.stop()

    def _reached(self, expected: Expected) -> Callable[..., bool]:
        return lambda *_: matches(self.text(), expected)


class Editor(Target):
    """The text editor, which reports each event as a line."""

    def __init__(self, session: Session, program: Path) -> None:
        super().__init__(session, "editor")
        self.process = session.spawn([session.reachable(program), self._content], name="editor")
        self.focus()

    def focus(self) -> None:
        super().focus()
        self.process.wait_for(
            lambda lines: [line for line in lines if line.endswith("focused")][-1:] == ["focused"],
            "the focus",
        )

    def wait_for_text(self, expected: Expected, timeout: float = DEADLINE_S) -> str:
        try:
            self.process.wait_for(self._reached(expected), f"the text {expected!r}", timeout)
        except AssertionError as error:
            raise type(error)(f"{error}\n--- it holds {self.text()!r}") from None
        return self.text()


class Terminal(Target):
    """An xterm (X11 only) that pastes at ctrl+shift+v."""

    def __init__(self, session: Session, *options: str) -> None:
        super().__init__(session, "terminal")
        reader = ["sh", "-c", RAW_READER, "sh", self._content]
        look = ["-T", "Terminal", "-fa", "Monospace", "-fs", "12"]
        terminal = ["xterm", *look, "-xrm", PASTE_BINDING, *options]
        self.process = session.spawn([*terminal, "-e", *reader])
        session.wait_until(self._content.exists, "the terminal's reader")
        self.focus()

    def wait_for_text(self, expected: Expected, timeout: float = DEADLINE_S) -> str:
        what = f"the text {expected!r} in the terminal"
        self.session.wait_until(self._reached(expected), what, timeout)
        return self.text()

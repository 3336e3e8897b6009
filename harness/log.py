"""What a log may hold: framed messages, no surprises and no secrets."""

import re
from typing import Iterable, NamedTuple, Sequence

DEBUG, WARNING, CRITICAL, FATAL, INFO = range(5)
TROUBLE = (WARNING, CRITICAL, FATAL)

FRAME_START = re.compile(r"^\[([0-4])\] ")
FRAME_END = re.compile(r" \([^()]*:\d+\)$")
SANITIZER = re.compile(r"ERROR: \w+Sanitizer|runtime error:|LeakSanitizer|SUMMARY: \w+Sanitizer")

# Qt asks the audio server about a source at each change of its state. An end at that
# moment, as of a program that has just begun to record, leaves the question unanswered.
UNANSWERED = re.compile(r"^\[1\] PulseAudioService: failed to get source info \(\?:0\)$")

# Said by Qt's platform without a screen when a window is brought to the front.
NO_SCREEN = re.compile(r"^\[1\] This plugin does not support raise\(\) \(\?:0\)$")

# Said by Qt 6.8 of a question by assistive technology that comes when what it is about has gone, and of
# a compositor without a keyboard.
GONE = re.compile(r"^\[1\] Could not find accessible on path: ")
NO_KEYBOARD = re.compile(r"^\[1\] unknown keymap format: 0 ")
EXCUSED = (UNANSWERED, NO_SCREEN, GONE, NO_KEYBOARD)

# Shorter words occur by chance.
SHORTEST_SECRET_WORD = 4


class Message(NamedTuple):
    level: int | None  # None for lines that no message frames
    text: str


def messages(lines: Iterable[str]) -> list[Message]:
    """Put the lines of each message together.

    A message goes from "[level] " to " (file:line)", over as many lines as its
    text has. What stands outside, or begins and never ends, has no level.
    """
    found: list[Message] = []
    open_lines: list[str] = []

    def drop_unfinished() -> None:
        found.extend(Message(None, line) for line in open_lines)
        open_lines.clear()

    for line in lines:
        if FRAME_START.match(line):
            drop_unfinished()
        elif not open_lines:
            found.append(Message(None, line))
            continue
        open_lines.append(line)
        if FRAME_END.search(line):
            text = "\n".join(open_lines)
            found.append(Message(int(text[1]), text))
            open_lines.clear()
    drop_unfinished()
    return found


def check_log(
    lines: Sequence[str], expected: Sequence[str] = (), secrets: Iterable[str] = ()
) -> None:
    """Raise AssertionError unless the log is clean.

    expected are regular expressions for messages that a test provokes; each has to
    occur. They may also excuse stray lines, but neither a sanitizer's report nor a
    secret. secrets are tokens, passwords and dictated texts: none of their words
    may occur.
    """
    log = "\n".join(lines)
    patterns = [re.compile(regex, re.DOTALL) for regex in expected]
    faults = [f"sanitizer report: {line}" for line in lines if SANITIZER.search(line)]
    for message in messages(lines):
        if any(pattern.search(message.text) for pattern in (*patterns, *EXCUSED)):
            continue
        if message.level is None:
            faults.append(f"not part of a message: {message.text}")
        elif message.level in TROUBLE:
            faults.append(f"unexpected: {message.text}")
    for pattern in patterns:
        if not any(pattern.search(message.text) for message in messages(lines)):
            faults.append(f"expected, but missing: {pattern.pattern}")
    faults += [f"secret word: {word}" for word in sorted(words(secrets)) if holds(log, word)]
    if faults:
        raise AssertionError("\n".join([*faults, "--- the log", log]))


def words(secrets: Iterable[str]) -> set[str]:
    """The words to look for; the parts of a signed token, between dots, are words too."""
    pieces = (piece for secret in secrets for piece in re.split(r"[\s.,;:!?\"()]+", secret))
    return {
        piece for piece in pieces if sum(map(str.isalpha, piece)) >= SHORTEST_SECRET_WORD
    }


def holds(log: str, word: str) -> bool:
    return bool(re.search(rf"(?<!\w){re.escape(word)}(?!\w)", log, re.IGNORECASE))


# What a start logs in a session that isn't X11 and has neither a desktop portal nor a tray.
START = """\
[4] Wayland session detected — trying GlobalShortcuts portal... (?:0)
[4] Wayland: GlobalShortcuts portal not available — use 'tarq-linux --toggle' from your \
compositor's keybinding (?:0)
[4] 
Wayland hotkey setup:
   1. Bind a custom keyboard shortcut in your compositor settings
   2. Set the command to: tarq-linux --toggle
   3. Suggested key: Super+Space
   GNOME: Settings → Keyboard → Keyboard Shortcuts → Custom
   KDE:   System Settings → Shortcuts → Custom Shortcuts
   sway/hyprland: edit your config and reload (?:0)
[4] System tray not available — skipping tray icon (?:0)
""".splitlines()


def without_start(lines: Sequence[str]) -> list[str]:
    """The log of a program that runs in such a session, without what each start says."""
    end = len(START)
    for start in range(len(lines) - end + 1):
        if list(lines[start : start + end]) == START:
            return [*lines[:start], *lines[start + end :]]
    return list(lines)

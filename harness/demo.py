"""One dictation on a virtual desktop, told step by step."""

import shutil
import sys
from pathlib import Path

from harness.backend import Backend
from harness.desktop import VirtualDesktop
from harness.microphone import Microphone
from harness.tarq import Tarq
from harness.targets import Editor

SENTENCE = "please write this sentence into my editor"

# Of speech in the recording, for a picture with a moving voice: half a second or more.
PHOTOGENIC_BYTES = 48_000


def show(build: Path, screenshots: Path) -> int:
    """Returns the exit status: 0 only if the text in the editor is the spoken one."""
    programs = {name: build / "bin" / name for name in ("tarq-linux", "harness-editor")}
    for path in programs.values():
        if not path.exists():
            print(f"{path} is missing: build the project first.", file=sys.stderr)
            return 1
    screenshots.mkdir(parents=True, exist_ok=True)
    tell("Starting a virtual desktop with a microphone and a local backend")
    desktop = VirtualDesktop(compositor=bool(shutil.which("picom")))
    try:
        with desktop:
            dictate(desktop, programs, screenshots)
    except AssertionError as error:
        print(f"\nThe demo failed: {error}\n\n{desktop.logs()}", file=sys.stderr)
        return 1
    return 0


def dictate(desktop: VirtualDesktop, programs: dict[str, Path], screenshots: Path) -> None:
    def photograph(moment: str) -> None:
        path = screenshots / f"{moment}.png"
        desktop.screenshot(path)
        print(f"  screenshot: {path}", flush=True)

    microphone = Microphone(desktop).start()
    backend = Backend(desktop)

    tell("Opening a text editor and starting Tarq")
    editor = Editor(desktop, programs["harness-editor"])
    tarq = Tarq(desktop, programs["tarq-linux"], backend).start()
    editor.focus()
    photograph("1-before")

    tell("Toggling the recording on")
    toggle(tarq)
    recording = tarq.wait_recording()

    tell(f"Speaking: {SENTENCE!r}")
    voice = microphone.start_speaking(SENTENCE)
    enough = recording.stat().st_size + PHOTOGENIC_BYTES
    desktop.wait_until(lambda: recording.stat().st_size > enough, "speech in the recording")
    photograph("2-recording")
    voice.wait()

    tell("Toggling the recording off; the backend recognises what it hears")
    toggle(tarq)
    backend.requests(wait_for=1, answered=True)
    text = editor.wait_for_text(SENTENCE)
    photograph("3-after")

    tell("Ending Tarq")
    tarq.stop()
    print(f"\nText in the editor: {text!r}", flush=True)


def toggle(tarq: Tarq) -> None:
    status = tarq.toggle()
    assert status == 0, f"tarq-linux --toggle ended with status {status}"


def tell(step: str) -> None:
    print(f"{step}…", flush=True)

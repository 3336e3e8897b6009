"""What the benchmarks of the running program stand on."""

from pathlib import Path

from harness.backend import Backend
from harness.bubble import Bubble
from harness.desktop import VirtualDesktop
from harness.microphone import Microphone
from harness.tarq import Tarq
from harness.targets import Editor


class Bed:
    """A desktop with a microphone, an editor and a signed-in Tarq that isn't started yet."""

    def __init__(self, build: Path, desktop: VirtualDesktop) -> None:
        self.build = build
        self.desktop = desktop
        self.microphone = Microphone(desktop).start()
        self.backend = Backend(desktop)
        self.tarq = Tarq(desktop, build / "bin/tarq-linux", self.backend)
        self.tarq.sign_in()
        self.editor = Editor(desktop, build / "bin/harness-editor")

    def start(self, **options) -> Bubble:
        """Returns when the splash has gone."""
        self.tarq.start(**options)
        bubble = Bubble(self.desktop, self.tarq.process.pid)
        bubble.wait_alone()
        self.editor.focus()
        return bubble

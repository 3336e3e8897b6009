"""PulseAudio in a session; the package's own words tell what it gives."""

import shutil
import signal

from harness.process import Process
from harness.session import Session

# A source that merely monitors a sink is hidden by Qt, a remapped one isn't. Without
# rewinds the sink works in blocks of 50 ms; with them it would be silent for its first
# two seconds. The protocol comes last: who can connect finds everything in place.
SERVER_SCRIPT = """\
load-module module-null-sink sink_name=virtmic norewinds=1 rate=48000 channels=1 \
sink_properties=device.description=Loudspeaker
load-module module-remap-source master=virtmic.monitor source_name=mic \
source_properties=device.description=Microphone
set-default-source mic
load-module module-native-protocol-unix auth-cookie-enabled=0
"""


class PulseAudio:
    def __init__(self, session: Session) -> None:
        self._session = session
        self._server: Process | None = None

    @staticmethod
    def is_installed() -> bool:
        return shutil.which("pulseaudio") is not None

    def start(self) -> None:
        script = self._session.write("pulse.pa", SERVER_SCRIPT)
        # Without shared memory nothing is left in /dev/shm by a killed server.
        self._server = self._session.spawn(
            ["pulseaudio", "-n", "-F", script]
            + ["--daemonize=no", "--system=no", "--exit-idle-time=-1"]
            + ["--disable-shm=yes", "--realtime=no", "--high-priority=no"]
        )
        socket = self._session.runtime / "pulse" / "native"
        self._session.wait_for_socket(socket, "the audio server")

    def kill(self) -> None:
        self._server.kill()

    def freeze(self) -> None:
        self._server.send_signal(signal.SIGSTOP)

    def thaw(self) -> None:
        self._server.send_signal(signal.SIGCONT)

    def suspend(self) -> None:
        self._session.run(["pactl", "suspend-source", "mic", "1"])

    def resume(self) -> None:
        self._session.run(["pactl", "suspend-source", "mic", "0"])

"""A microphone that says what it is told, on a PulseAudio server of the session's own."""

import hashlib
from pathlib import Path

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

# The recorder stops by itself after two minutes, so no speech is longer.
LONGEST_SPEECH_S = 150.0


class Microphone:
    """Speaks into the session's only audio source; ends with the session."""

    def __init__(self, session: Session) -> None:
        self._session = session
        self._server: Process | None = None

    def start(self) -> "Microphone":
        """Start the server; possible again after kill()."""
        script = self._session.write("pulse.pa", SERVER_SCRIPT)
        # Without shared memory nothing is left in /dev/shm by a killed server.
        self._server = self._session.spawn(
            ["pulseaudio", "-n", "-F", script]
            + ["--daemonize=no", "--system=no", "--exit-idle-time=-1"]
            + ["--disable-shm=yes", "--realtime=no", "--high-priority=no"]
        )
        socket = self._session.runtime / "pulse" / "native"
        self._session.wait_for_socket(socket, "the audio server")
        return self

    def kill(self) -> None:
        """End the server as a crash would."""
        self._server.kill()

    def speak(self, text: str) -> None:
        """Say a text, and return when it has been said."""
        assert self.start_speaking(text).wait(LONGEST_SPEECH_S) == 0

    def start_speaking(self, text: str) -> Process:
        """Say a text; the process ends when it has been said."""
        return self.play(self.recording_of(text))

    def play(self, sound: Path) -> Process:
        """Play a sound file into the microphone."""
        return self._session.spawn(["paplay", "--device=virtmic", sound])

    def recording_of(self, text: str) -> Path:
        """The text as a WAV file; a voice is made only once for each text."""
        name = hashlib.sha1(text.encode()).hexdigest()[:16]
        sound = self._session.tmp / f"speech-{name}.wav"
        if not sound.exists():
            self._session.run(["flite", "-voice", "rms", "-t", text, "-o", sound])
        return sound

"""A microphone that says what it is told, on an audio server of the session's own."""

import hashlib
from pathlib import Path

from harness.audio import audio_server
from harness.process import Process
from harness.session import Session

# The recorder stops by itself after two minutes, so no speech is longer.
LONGEST_SPEECH_S = 150.0


class Microphone:
    """Speaks into the session's only audio source; ends with the session."""

    def __init__(self, session: Session) -> None:
        self._session = session
        self.server = audio_server(session)

    def start(self) -> "Microphone":
        """Start the server; possible again after kill()."""
        self.server.start()
        return self

    def kill(self) -> None:
        """End the server as a crash would."""
        self.server.kill()

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

"""Audio servers of a session's own: PulseAudio, or PipeWire where that isn't installed.

Each is a class with the same operations. When start() returns there is a sink "virtmic", and a
single source "mic", the default, that hears what is played into it. kill() ends the server as a
crash would, and start() is possible again. A server that is frozen answers nobody, until thaw();
a suspended one answers, but lets no recording begin until resume(). Clients of PulseAudio can't
tell which of the two they talk to.
"""

import os

from harness.audio.pipewire import PipeWire
from harness.audio.pulseaudio import PulseAudio
from harness.session import Session

SERVERS = {"pulseaudio": PulseAudio, "pipewire": PipeWire}


def installed() -> list[str]:
    return [name for name, server in SERVERS.items() if server.is_installed()]


def audio_server(session: Session) -> PulseAudio | PipeWire:
    """The first that is installed, or the one that TARQ_AUDIO_SERVER names."""
    name = os.environ.get("TARQ_AUDIO_SERVER") or next(iter(installed()), "pulseaudio")
    return SERVERS[name](session)

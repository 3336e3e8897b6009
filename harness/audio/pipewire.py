"""PipeWire in a session, with the two programs that make an audio server of it."""

import shutil
from pathlib import Path

from harness.process import Process
from harness.session import Session

# Carries the sound, decides who hears whom, and speaks PulseAudio's protocol.
PROGRAMS = ("pipewire", "wireplumber", "pipewire-pulse")

# Of WirePlumber's package. How it is written changes from release to release, so it is
# taken as it is, less the hardware; the others are the session's own.
WIREPLUMBER_CONFIG = Path("/usr/share/wireplumber")
OWN_CONFIG = Path(__file__).with_name("pipewire")


class PipeWire:
    def __init__(self, session: Session) -> None:
        self._session = session
        self._processes: list[Process] = []

    @staticmethod
    def is_installed() -> bool:
        return all(shutil.which(program) for program in PROGRAMS)

    def start(self) -> None:
        session = self._session
        config = session.root / "pipewire"
        for directory in (WIREPLUMBER_CONFIG, OWN_CONFIG):
            shutil.copytree(directory, config, dirs_exist_ok=True)
        env = {
            "PIPEWIRE_CONFIG_DIR": str(config),
            "WIREPLUMBER_CONFIG_DIR": str(config),
            "XDG_STATE_HOME": str(session.root),
            # No Bluetooth, and nobody who lends real-time priority.
            "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={session.runtime}/no-system-bus",
        }
        sockets = {"pipewire": "pipewire-0", "pipewire-pulse": "pulse/native"}
        self._processes = []
        for program in PROGRAMS:
            self._processes.append(session.spawn([program], env=env))
            if program in sockets:
                session.wait_for_socket(session.runtime / sockets[program], program)
        # It takes connections before it has its devices.
        session.wait_until(self._choose_default, "the microphone")

    def kill(self) -> None:
        for process in reversed(self._processes):
            process.kill()

    def _choose_default(self) -> bool:
        choose = ["pactl", "set-default-source", "mic"]
        ask = ["pactl", "get-default-source"]
        run = self._session.run
        return run(choose, check=False).returncode == 0 and run(ask).stdout == "mic\n"

"""PipeWire in a session, with the two programs that make an audio server of it."""

import shutil
import signal
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
        self._processes: dict[str, Process] = {}
        self._filter: Process | None = None

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
        for program in PROGRAMS:
            self._processes[program] = session.spawn([program], env=env)
            if program in sockets:
                session.wait_for_socket(session.runtime / sockets[program], program)
        # It takes connections before it has its devices.
        session.wait_until(self._choose_default, "the microphone")

    def kill(self) -> None:
        for program in reversed(PROGRAMS):
            self._processes[program].kill()

    def freeze(self) -> None:
        self._processes["pipewire-pulse"].send_signal(signal.SIGSTOP)

    def thaw(self) -> None:
        self._processes["pipewire-pulse"].send_signal(signal.SIGCONT)

    def suspend(self) -> None:
        # A source that is suspended by hand wakes up for a recording, unlike PulseAudio's. One that
        # another program provides, as a filter does, waits for that program.
        self._session.run(["pactl", "unload-module", "module-remap-source"])
        self._filter = self._session.spawn(
            ["pw-loopback", "--channels=1", "--capture-props=stream.capture.sink=true"]
            + ["--playback-props=node.name=mic media.class=Audio/Source"]
        )
        self._session.wait_until(self._choose_default, "the microphone")
        self._filter.send_signal(signal.SIGSTOP)

    def resume(self) -> None:
        self._filter.send_signal(signal.SIGCONT)

    def _choose_default(self) -> bool:
        choose = ["pactl", "set-default-source", "mic"]
        ask = ["pactl", "get-default-source"]
        run = self._session.run
        return run(choose, check=False).returncode == 0 and run(ask).stdout == "mic\n"

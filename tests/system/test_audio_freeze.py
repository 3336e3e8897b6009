"""A sound server that would let the program wait for ever."""

import json
import unittest

from harness.log import check_log
from harness.testcase import TarqTestCase
from tests.system.support import NO_INSTANCE

# There is no screen to paste on.
NOT_PASTED = "Text injection failed: xdotool paste failed"
NO_INPUT = r"^\[1\] (Audio error: )?No audio input device is available\. \(\?:0\)$"
TOO_LATE = (
    "[1] Tarq ends: the sound server has not let a recording begin for 8 seconds. (?:0)"
)


class AudioFreezeTestCase(TarqTestCase):
    def pactl(self, *arguments: str) -> str:
        return self.desktop.run(["pactl", *arguments]).stdout

    def listed(self, kind: str) -> list[dict]:
        """What the sound server has of this kind."""
        return json.loads(self.pactl("--format=json", "list", kind))

    def recorded(self) -> str:
        """The name of the source that Tarq records from."""
        (recording,) = [
            output
            for output in self.listed("source-outputs")
            if output["properties"].get("application.process.binary") == "tarq-linux"
        ]
        names = {source["index"]: source["name"] for source in self.listed("sources")}
        return names[recording["source"]]

    def plug_in_headset(self) -> str:
        """Add a second microphone; returns the number of its module."""
        self.pactl("load-module", "module-null-sink", "sink_name=ear", "norewinds=1")
        return self.pactl(
            "load-module", "module-remap-source", "master=ear.monitor", "source_name=headset"
        ).strip()

    def check_recorded_from(self, source: str) -> None:
        """Fails unless a dictation is recorded from this microphone, and ends well."""
        logged = len(self.tarq.process.lines)
        self.start_recording()
        self.assertEqual(self.recorded(), source)
        self.toggle()
        self.tarq.process.wait_for_line(NOT_PASTED, since=logged)


class LostMicrophoneTest(AudioFreezeTestCase):
    expected_log = [NOT_PASTED]
    starts_tarq = False

    def setUp(self) -> None:
        super().setUp()
        self.backend.set_transcript("heard")
        self.headset = self.plug_in_headset()
        self.tarq.config.mkdir(parents=True)
        (self.tarq.config / "settings.json").write_text('{"microphoneDeviceId": "headset"}')
        self.start_tarq()
        self.check_recorded_from("headset")

    def connections(self) -> int:
        """Qt has one for its list of microphones, and one for the recordings."""
        pid = str(self.tarq.process.pid)
        owners = [client["properties"] for client in self.listed("clients")]
        return sum(owner.get("application.process.id") == pid for owner in owners)

    def test_microphone_that_a_restarted_server_lacks_is_the_default_again(self):
        connections = self.connections()
        self.microphone.kill()
        self.microphone.start()
        self.desktop.wait_until(lambda: self.connections() == connections, "Tarq's return")
        self.check_recorded_from("mic")

    def test_microphone_that_was_unplugged_is_the_default_again(self):
        self.pactl("unload-module", self.headset)
        self.check_recorded_from("mic")
        self.plug_in_headset()
        self.check_recorded_from("headset")


class SilentServerTest(AudioFreezeTestCase):
    def test_server_that_does_not_answer_costs_a_recording_and_no_more(self):
        self.expected_log = [NO_INPUT, NOT_PASTED]
        self.backend.set_transcript("heard")
        self.microphone.server.freeze()
        self.toggle()
        self.tarq.process.wait_for(
            lambda lines: sum("No audio input device" in line for line in lines) == 2, "its refusal"
        )
        self.assertEqual(self.tarq.recordings(), [])
        self.microphone.server.thaw()
        self.check_recorded_from("mic")


class SuspendedMicrophoneTest(AudioFreezeTestCase):
    starts_tarq = False

    def setUp(self) -> None:
        super().setUp()
        self.microphone.server.suspend()

    def test_recording_that_never_begins_ends_the_program(self):
        self.tarq.sign_in()
        run = self.desktop.spawn([self.tarq.program], env=self.tarq.environment())
        self.desktop.wait_for_socket(self.tarq.socket, "the toggle channel")
        self.toggle()
        self.desktop.wait_until(self.tarq.recordings, "the beginning of the recording")
        # Neither another toggle nor another start hangs on the one that stands still.
        self.assertEqual(self.tarq.toggle(), 0)
        self.assertEqual(self.tarq.command().status, 0)
        self.assertEqual(run.wait(), 2)
        self.assertEqual(run.lines[-1], TOO_LATE)
        check_log(run.lines[:-1])
        toggle = self.tarq.command("--toggle")
        self.assertEqual((toggle.status, toggle.lines), (1, [NO_INSTANCE.strip()]))

        self.microphone.server.resume()
        self.start_tarq()
        self.start_recording()
        self.assertEqual(self.recorded(), "mic")

    def test_audio_smoke_ends_with_the_status_of_a_failed_start(self):
        smoke = self.tarq.command("--audio-smoke", "100")
        self.assertEqual((smoke.status, smoke.lines), (2, [TOO_LATE]))


if __name__ == "__main__":
    unittest.main()

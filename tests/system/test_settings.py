"""What is stored from earlier runs, and changes the next one."""

import json
import unittest

from harness.testcase import TarqTestCase


class SettingsTest(TarqTestCase):
    # There is no screen to paste on.
    expected_log = ["Text injection failed: xdotool paste failed"]
    starts_tarq = False

    def dictate_with(self, settings: dict[str, object]) -> dict[str, str]:
        """One dictation with these settings; returns the texts of the request's parts."""
        self.tarq.sign_in()
        (self.tarq.config / "settings.json").write_text(json.dumps(settings))
        self.start_tarq()
        self.backend.set_transcript("arrived")
        self.record()
        self.tarq.process.wait_for_line("Text injection failed")
        self.assertEqual(self.tarq.history()[0], "arrived")
        (request,) = self.backend.requests()
        return {part["name"]: part.get("text") for part in request["parts"]}

    def check_recorded_from(self, source: str, settings: dict[str, object]) -> None:
        """Fails unless a recording is taken from this source, one of two."""
        self.expected_log = []
        load = ["pactl", "load-module"]
        self.desktop.run([*load, "module-null-sink", "sink_name=ear", "norewinds=1"])
        second = ["module-remap-source", "master=ear.monitor", "source_name=headset"]
        self.desktop.run([*load, *second])
        self.tarq.sign_in()
        (self.tarq.config / "settings.json").write_text(json.dumps(settings))
        self.start_tarq()
        self.start_recording()
        sources = self.listed("sources")
        # The remapped sources record too, from the monitors behind them.
        (recording,) = [
            output
            for output in self.listed("source-outputs")
            if output["properties"].get("application.process.binary") == "tarq-linux"
        ]
        names = {each["index"]: each["name"] for each in sources}
        self.assertEqual(names[recording["source"]], source)

    def listed(self, kind: str) -> list[dict]:
        """What the audio server has of this kind."""
        return json.loads(self.desktop.run(["pactl", "--format=json", "list", kind]).stdout)

    def test_chosen_language_is_sent(self):
        self.assertEqual(self.dictate_with({"transcriptionLanguage": "de"})["language"], "de")

    def test_automatic_language_is_not_sent(self):
        for language in ("auto", " auto ", ""):
            with self.subTest(language):
                self.backend.forget_requests()
                parts = self.dictate_with({"transcriptionLanguage": language})
                self.assertEqual(list(parts), ["model", "response_format", "file"])
                self.tarq.stop()

    def test_chosen_microphone_is_used(self):
        self.check_recorded_from("headset", {"microphoneDeviceId": "headset"})

    def test_unknown_microphone_falls_back_to_the_default(self):
        self.check_recorded_from("mic", {"microphoneDeviceId": "unplugged"})

    def test_no_choice_is_the_default_microphone(self):
        self.check_recorded_from("mic", {"microphoneDeviceId": ""})

    def test_history_of_an_earlier_run_goes_on(self):
        self.tarq.sign_in()
        entries = [{"id": n, "text": f"entry{n}", "createdAt": n} for n in range(1, 151)]
        file = self.tarq.config / "history.json"
        file.write_text(json.dumps({"entries": entries}))
        self.dictate_with({})
        # The newest hundred, in order.
        kept = [f"entry{n}" for n in range(150, 51, -1)]
        self.assertEqual(self.tarq.history(), ["arrived", *kept])
        self.assertEqual(file.stat().st_mode & 0o777, 0o600)


if __name__ == "__main__":
    unittest.main()

"""The settings window, by real clicks and keys, and what it changes for the program."""

import json
import unittest

from harness.bubble import Bubble
from harness.desktop import VirtualDesktop
from harness.interface import Element, Interface
from harness.testcase import DictationTestCase
from support import DEFAULT_FILES

WINDOW = "Tarq — Settings"
TAB = ("push button", "page tab")
SWITCHES = {
    "General": {
        "Launch Tarq on startup": "autoStart",
        "Show in system tray": "showInTray",
        "Anonymous telemetry": "telemetryOptIn",
    },
    "Recording": {
        "Push-to-talk mode": "pushToTalkMode",
        "Auto-punctuation": "autoPunctuation",
    },
}
CAPTURING = "Press the keys you want to use, or Escape to cancel."
NOT_CAPTURING = "Click the box to record a new shortcut. Default: Super+Space."


class SettingsWindowTestCase(DictationTestCase):
    """The settings window is open, with the keyboard."""

    def make_session(self):
        return VirtualDesktop(accessibility=True)

    def setUp(self):
        super().setUp()
        self.interface = Interface(self.desktop)
        self.bubble = Bubble(self.desktop, self.tarq.process.pid)
        self.bubble.wait_alone()
        self.open_window()

    def open_window(self) -> None:
        self.bubble.open_menu().choose("Settings")
        self.desktop.wait_until(self.has_the_keyboard, "the settings window to become active")

    def has_the_keyboard(self) -> bool:
        return any("active" in window.states for window in self.windows())

    def windows(self) -> list[Element]:
        return [e for e in self.interface.elements(WINDOW) if e.role == "frame"]

    def close_window(self) -> None:
        self.click("Close")
        self.interface.wait_for_no_window(WINDOW)

    def click(self, name: str, role: str | None = None) -> None:
        self.interface.click(name, WINDOW, role)

    def choose_tab(self, name: str) -> None:
        self.interface.click(name, WINDOW, TAB)

    def pick(self, box: str, entry: str) -> None:
        """Choose from one of the lists, which is open for as long."""
        self.click(box, "combo box")
        self.click(entry, "list item")
        self.desktop.wait_until(
            lambda: all(e.role != "list item" for e in self.interface.elements(WINDOW)),
            "the list to close",
        )

    def is_checked(self, switch: str) -> bool:
        return "checked" in self.interface.wait_for(switch, WINDOW, "check box").states

    def settings(self) -> dict[str, object]:
        return json.loads((self.tarq.config / "settings.json").read_text())

    def wait_setting(self, name: str, value: object) -> None:
        self.desktop.wait_until(
            lambda: self.settings()[name] == value, f"{name} to become {value!r}"
        )


class SettingsWindowTest(SettingsWindowTestCase):
    def test_every_switch_is_saved(self):
        for tab, switches in SWITCHES.items():
            self.choose_tab(tab)
            for label, name in switches.items():
                with self.subTest(name):
                    before = self.settings()
                    self.assertEqual(self.is_checked(label), before[name])
                    self.click(label, "check box")
                    self.wait_setting(name, not before[name])
                    self.assertEqual(self.settings(), {**before, name: not before[name]})
                    self.assertEqual(self.is_checked(label), not before[name])

    def test_startup_switch_writes_and_removes_the_autostart_entry(self):
        entry = self.desktop.home / ".config" / "autostart" / "tarq-linux.desktop"
        self.assertFalse(entry.exists())
        self.click("Launch Tarq on startup", "check box")
        self.desktop.wait_until(entry.exists, "the autostart entry")
        self.assertIn("\nExec=tarq-linux\n", entry.read_text())
        self.click("Launch Tarq on startup", "check box")
        self.desktop.wait_until(lambda: not entry.exists(), "the autostart entry to go")

    def test_chosen_language_counts_from_the_next_dictation(self):
        self.choose_tab("Recording")
        self.pick("Transcription language", "de")
        self.wait_setting("transcriptionLanguage", "de")
        self.editor.focus()
        self.dictate("in another language")
        self.editor.wait_for_text("in another language")
        (request,) = self.backend.requests()
        parts = {part["name"]: part.get("text") for part in request["parts"]}
        self.assertEqual(parts["language"], "de")

    def test_reset_applies_at_once_and_leaves_the_autostart_entry(self):
        entry = self.desktop.home / ".config" / "autostart" / "tarq-linux.desktop"
        for label in SWITCHES["General"]:
            self.click(label, "check box")
        self.choose_tab("Advanced")
        self.assertNotEqual(self.settings(), json.loads(DEFAULT_FILES["settings.json"]))
        self.click("Reset all settings to defaults")
        file = self.tarq.config / "settings.json"
        self.desktop.wait_until(
            lambda: file.read_text() == DEFAULT_FILES["settings.json"], "the default settings"
        )
        self.choose_tab("General")
        for label, name in SWITCHES["General"].items():
            self.assertEqual(self.is_checked(label), self.settings()[name], name)
        self.assertTrue(entry.exists())

    def test_clearing_of_the_cache_is_still_to_come(self):
        self.tarq.cache.mkdir(parents=True)
        recording = self.tarq.cache / "tarq-linux-old.wav"
        recording.write_bytes(b"RIFF")
        before = self.settings()
        self.choose_tab("Advanced")
        self.click("Clear cached audio files")
        # What comes after it has been seen to.
        self.choose_tab("General")
        self.click("Show in system tray", "check box")
        self.wait_setting("showInTray", False)
        self.assertTrue(recording.exists())
        self.assertEqual(self.settings(), {**before, "showInTray": False})

    def test_second_request_raises_the_window_that_is_open(self):
        self.choose_tab("Hotkey")
        self.editor.focus()
        self.desktop.wait_until(lambda: not self.has_the_keyboard(), "the editor's turn")
        self.open_window()
        self.assertEqual(len(self.windows()), 1)
        self.interface.wait_for("Reset to default (Super+Space)", WINDOW)

    def test_reopened_window_is_a_fresh_one(self):
        self.choose_tab("Hotkey")
        self.click("Recording hotkey", "push button")
        self.interface.wait_for(CAPTURING, WINDOW)
        self.close_window()
        self.open_window()
        self.interface.wait_for("Launch Tarq on startup", WINDOW)
        self.choose_tab("Hotkey")
        self.interface.wait_for(NOT_CAPTURING, WINDOW)

    def test_dictation_goes_on_without_the_window(self):
        self.close_window()
        self.editor.focus()
        self.dictate("after the settings")
        self.editor.wait_for_text("after the settings")

    def test_window_is_dragged_by_its_top(self):
        x, y, width, height = self.windows()[0].box
        self.assertEqual((width, height), (540, 540))
        self.drag(x + 60, y + 20, 100, -50)
        self.desktop.wait_until(
            lambda: self.windows()[0].box == (x + 100, y - 50, width, height), "the move"
        )
        # But not by its middle.
        self.drag(x + 400, y + 400, 40, 40)
        self.click("Show in system tray", "check box")
        self.wait_setting("showInTray", False)
        self.assertEqual(self.windows()[0].box, (x + 100, y - 50, width, height))

    def drag(self, x: int, y: int, dx: int, dy: int) -> None:
        self.desktop.run(["xdotool", "mousemove", "--sync", x, y, "mousedown", 1])
        for step in range(1, 11):
            to = (x + dx * step // 10, y + dy * step // 10)
            self.desktop.run(["xdotool", "mousemove", "--sync", *to])
        self.desktop.run(["xdotool", "mouseup", 1])


class HotkeyTest(SettingsWindowTestCase):
    def setUp(self):
        super().setUp()
        self.choose_tab("Hotkey")

    def start_capture(self) -> None:
        self.click("Recording hotkey", "push button")
        self.interface.wait_for(CAPTURING, WINDOW)

    def capture(self, keys: str) -> None:
        self.start_capture()
        self.desktop.press(keys)
        self.interface.wait_for(NOT_CAPTURING, WINDOW)

    def test_combinations(self):
        combinations = {
            "ctrl+alt+k": "Ctrl+Alt+K",
            "alt+F1": "Alt+F1",
            "ctrl+shift+a": "Ctrl+Shift+A",
            "super+F12": "Super+F12",
            "ctrl+alt+shift+super+j": "Ctrl+Alt+Shift+Super+J",
            "super+Return": "Super+Return",
            "ctrl+Tab": "Ctrl+Tab",
            "ctrl+7": "Ctrl+7",
            "shift+space": "Shift+Space",
        }
        for keys, name in combinations.items():
            with self.subTest(keys):
                self.capture(keys)
                self.wait_setting("recordingHotkey", name)

    def test_keys_that_are_no_combination_are_waited_out(self):
        self.start_capture()
        # The last one is taken by the program itself, for the recording.
        for keys in ("k", "Tab", "shift+Tab", "ctrl", "Left", "ctrl+comma", "super+space"):
            self.desktop.press(keys)
        self.interface.wait_for(CAPTURING, WINDOW)
        self.assertEqual(self.settings()["recordingHotkey"], "Super+Space")
        self.desktop.press("alt+b")
        self.wait_setting("recordingHotkey", "Alt+B")

    def test_escape_cancels(self):
        for keys in ("Escape", "shift+Escape"):
            with self.subTest(keys):
                self.capture(keys)
                self.assertEqual(self.settings()["recordingHotkey"], "Super+Space")

    def test_keys_alone_reach_and_capture(self):
        # Past the close button and the four tabs.
        for _ in range(6):
            self.desktop.press("Tab")
        self.desktop.press("Return")
        self.interface.wait_for(CAPTURING, WINDOW)
        self.desktop.press("ctrl+alt+k")
        self.wait_setting("recordingHotkey", "Ctrl+Alt+K")
        self.desktop.press("Tab")
        self.desktop.press("space")
        self.wait_setting("recordingHotkey", "Super+Space")

    def test_button_goes_back_to_the_default(self):
        self.capture("alt+F1")
        self.wait_setting("recordingHotkey", "Alt+F1")
        self.click("Reset to default (Super+Space)")
        self.wait_setting("recordingHotkey", "Super+Space")

    def test_grabbed_hotkey_stays_and_no_window_tells_of_the_change(self):
        shown = {element.window for element in self.interface.elements()}
        self.capture("ctrl+alt+k")
        self.wait_setting("recordingHotkey", "Ctrl+Alt+K")
        self.assertEqual({element.window for element in self.interface.elements()}, shown)
        # A hold counts as one only without key repeat.
        self.desktop.run(["xset", "r", "off"])
        self.backend.set_transcript("as before")
        self.desktop.run(["xdotool", "keydown", "super", "keydown", "space"])
        self.tarq.wait_recording()
        self.desktop.run(["xdotool", "keyup", "space", "keyup", "super"])
        self.editor.wait_for_text("as before")


class MicrophonesTest(SettingsWindowTestCase):
    def make_targets(self):
        super().make_targets()
        self.plug_in()

    def plug_in(self) -> None:
        load = ["pactl", "load-module"]
        sink = ["module-null-sink", "sink_name=ear", "norewinds=1"]
        self.desktop.run([*load, *sink])
        source = ["module-remap-source", "master=ear.monitor", "source_name=headset"]
        described = "source_properties=device.description=Headset"
        self.module = self.desktop.run([*load, *source, described]).stdout.strip()

    def unplug(self) -> None:
        self.desktop.run(["pactl", "unload-module", self.module])

    def record_from(self) -> str:
        """Dictate something, and return the name of the source that it comes from."""
        self.backend.set_transcript("heard")
        self.start_recording()
        sources = {each["index"]: each["name"] for each in self.listed("sources")}
        (recording,) = [
            sources[output["source"]]
            for output in self.listed("source-outputs")
            if output["properties"].get("application.process.binary") == "tarq-linux"
        ]
        self.toggle()
        self.editor.wait_for_text("heard")
        return recording

    def listed(self, kind: str) -> list[dict]:
        return json.loads(self.desktop.run(["pactl", "--format=json", "list", kind]).stdout)

    def test_chosen_microphone_counts_at_once(self):
        self.choose_tab("Recording")
        self.pick("Microphone", "Headset")
        self.wait_setting("microphoneDeviceId", "headset")
        self.assertEqual(self.record_from(), "headset")

    def test_unplugged_microphone_stays_chosen(self):
        self.choose_tab("Recording")
        self.pick("Microphone", "Headset")
        self.wait_setting("microphoneDeviceId", "headset")
        self.unplug()
        # The open window doesn't mind, whatever is done with its list.
        self.click("Microphone", "combo box")
        self.interface.wait_for("Headset", WINDOW, "list item")
        self.desktop.press("Escape")
        self.close_window()
        self.assertEqual(self.record_from(), "mic")
        self.open_window()
        self.choose_tab("Recording")
        self.click("Microphone", "combo box")
        self.interface.wait_for("Microphone", WINDOW, "list item")
        entries = [e.name for e in self.interface.elements(WINDOW) if e.role == "list item"]
        self.assertEqual(entries, ["Microphone"])
        self.assertEqual(self.settings()["microphoneDeviceId"], "headset")

    def test_microphone_that_comes_later_is_in_the_next_window(self):
        self.unplug()
        self.close_window()
        self.open_window()
        self.plug_in()
        self.close_window()
        self.open_window()
        self.choose_tab("Recording")
        self.pick("Microphone", "Headset")
        self.wait_setting("microphoneDeviceId", "headset")


if __name__ == "__main__":
    unittest.main()

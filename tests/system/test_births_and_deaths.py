"""In which order the program builds what it is made of, and lets it go: a journal of the real one."""

import unittest

from harness.bubble import Bubble
from harness.desktop import VirtualDesktop
from harness.interface import Interface
from harness.targets import Editor
from harness.testcase import TarqTestCase, build_tree, program
from harness.tray import StatusNotifierTray

ENGINE = "QQmlApplicationEngine"
SERVICES = [
    "SettingsStore",
    "SupabaseAuthClient",
    "OverlayStateModel",
    "HistoryRepository",
    "InputFocusMonitor",
    "TranscriptionPipeline",
    "GlobalHotkeyManager",
]
WINDOWS = [
    "Main",
    "HistoryWindow",
    "LoginWindow",
    "SettingsWindow",
    "AboutWindow",
    "ProfileWindow",
    "SplashWindow",
]
OBJECTS = {
    "QApplication", *SERVICES, ENGINE, "QTimer refreshTimer", "QSystemTrayIcon", *WINDOWS
}


class JournalTestCase(TarqTestCase):
    starts_tarq = False

    def make_session(self):
        return VirtualDesktop(accessibility=True)

    def start_tarq(self, **options) -> None:
        self.journal = self.desktop.root / "journal"
        # The program alone is to be preloaded, and not what starts it.
        preload = [
            f"LD_PRELOAD={build_tree()}/test-modules/journal.so",
            f"TARQ_JOURNAL={self.journal}",
            f"ASAN_OPTIONS={self.desktop.env.get('ASAN_OPTIONS', '')}:verify_asan_link_order=0",
        ]
        super().start_tarq(wrapper=["env", *preload], **options)

    def happened(self, what: str) -> list[str]:
        """The births, the steps or the deaths that the journal tells of, in their order."""
        lines = self.journal.read_text().splitlines()
        return [line.removeprefix(f"{what} ") for line in lines if line.startswith(f"{what} ")]

    def births(self) -> list[str]:
        return [name for name in self.happened("birth") if name in OBJECTS]

    def deaths(self) -> list[str]:
        return [name for name in self.happened("death") if name in OBJECTS]

    def steps_around(self, *names: str) -> list[str]:
        """What the journal tells of these, births and steps alike."""
        found = (line.partition(" ")[2] for line in self.journal.read_text().splitlines())
        return [name for name in found if name in names]


class StartTest(JournalTestCase):
    def test_services_are_built_in_the_order_in_which_they_may_use_each_other(self):
        tray = StatusNotifierTray(self.desktop)
        self.start_tarq()
        tray.wait_for_icon(self.tarq.process.pid)
        engines = [ENGINE, ENGINE]  # of the bubble and of the history
        self.assertEqual(
            self.births(),
            ["QApplication", *SERVICES, *engines, "QTimer refreshTimer", "QSystemTrayIcon"]
            + [ENGINE, "SplashWindow", "Main", "HistoryWindow"],
        )

    def test_windows_are_known_to_be_translucent_before_there_is_an_application(self):
        self.start_tarq()
        names = ["alpha buffer on", "QApplication"]
        self.assertEqual(self.steps_around(*names), names)

    def test_model_hears_of_the_focus_before_there_is_a_pipeline(self):
        self.start_tarq()
        names = ["InputFocusMonitor inputFocusChanged", "TranscriptionPipeline"]
        self.assertEqual(self.steps_around(*names), names)

    def test_nobody_is_told_before_the_pipeline_has_the_stored_settings(self):
        self.start_tarq()
        names = [
            "TranscriptionPipeline",
            "SettingsStore microphoneDeviceIdChanged",
            "SettingsStore transcriptionLanguageChanged",
            "SettingsStore recordingHotkeyChanged",
            "GlobalHotkeyManager",
            "GlobalHotkeyManager recordingStartRequested",
            "GlobalHotkeyManager recordingStopRequested",
            "GlobalHotkeyManager toggleRequested",
            "QTimer refreshTimer",
            "SupabaseAuthClient authSuccess",
            "SupabaseAuthClient authFailed",
            "SupabaseAuthClient authNetworkError",
        ]
        self.assertEqual(self.steps_around(*names), names)


class EndTest(JournalTestCase):
    """The windows of the stack go before the services, the others with the application object."""

    FIRST = ["QTimer refreshTimer"]
    STACK_ENGINES = ["HistoryWindow", ENGINE, "Main", ENGINE]
    # The settings are the first of the services.
    THEN = list(reversed(SERVICES))

    def setUp(self):
        super().setUp()
        self.tray = StatusNotifierTray(self.desktop)
        self.interface = Interface(self.desktop)

    def check_deaths(self, before: list[str], with_the_application: list[list[str]]) -> None:
        self.assertEqual(self.tarq.process.stop(), 0, self.tarq.process.log())
        deaths = self.deaths()
        self.assertEqual(deaths[: len(before)], before)
        self.assertEqual(deaths[-1], "QApplication")
        rest = deaths[len(before) : -1]
        # Each window right before its engine; in which order they go is all the same.
        groups, group = [], []
        for name in rest:
            group.append(name)
            if name in (ENGINE, "QSystemTrayIcon"):
                groups.append(group)
                group = []
        self.assertEqual(group, [])
        self.assertEqual(sorted(groups), sorted(with_the_application))

    def test_open_windows_outlive_what_they_show(self):
        editor = Editor(self.desktop, program("harness-editor"))
        self.start_tarq()
        bubble = Bubble(self.desktop, self.tarq.process.pid)
        bubble.wait_alone()
        editor.focus()  # or the bubble would hide before long
        bubble.open_menu().choose("Profile")
        self.interface.wait_for_window("Tarq — Profile")
        icon = self.tray.wait_for_icon(self.tarq.process.pid)
        for entry, title in (("Settings…", "Tarq — Settings"), ("About Tarq", "Tarq — About")):
            icon.choose(entry)
            self.interface.wait_for_window(title)
        self.check_deaths(
            [*self.FIRST, *self.STACK_ENGINES, *self.THEN],
            [[name, ENGINE] for name in ("SettingsWindow", "AboutWindow", "ProfileWindow")]
            + [["QSystemTrayIcon"]],
        )

    def test_splash_and_login_window_too(self):
        self.start_tarq(signed_in=False)
        self.tray.wait_for_icon(self.tarq.process.pid)
        # Neither the bubble nor the history was ever loaded.
        self.check_deaths(
            [*self.FIRST, ENGINE, ENGINE, *self.THEN],
            [["LoginWindow", ENGINE], ["SplashWindow", ENGINE], ["QSystemTrayIcon"]],
        )

    def test_what_a_window_has_painted_on_goes_with_it(self):
        editor = Editor(self.desktop, program("harness-editor"))
        self.start_tarq()
        editor.focus()
        Bubble(self.desktop, self.tarq.process.pid).wait_alone()
        self.assertEqual(self.tarq.process.stop(), 0, self.tarq.process.log())
        painted = [name for name in self.happened("death") if name == "QQuickContext2DImageTexture"]
        self.assertNotEqual(painted, [])


if __name__ == "__main__":
    unittest.main()

"""What the tests with TARQ_ASSIST=wayland share, whatever the compositor is."""

from harness.bubble import Bubble, Menu
from harness.process import Process
from harness.targets import Editor
from harness.testcase import DictationTestCase, program

# Where it lies on X11, too.
PLACE = (1280 - 138 - 6, 288, 138, 110)
COPIED = "copied earlier"
# A point of the editor, wherever it is.
ELSEWHERE = (600, 400)


class AssistedTestCase(DictationTestCase):
    starts_tarq = False
    asan_options = ""  # what is added to them for Tarq
    features = "wayland"
    way = ""  # the line that tells how a text will arrive
    clicks = False  # True: the bubble is clicked to toggle

    def start_tarq(self, path: str = "/usr/bin:/bin", way: str | None = None) -> Process:
        """Start Tarq beside the editor, which keeps the focus from now on."""
        self.desktop.plug_in_pointer()
        self.desktop.set_clipboard(COPIED)
        self.editor.focus()
        self.focus_events = self.editor.process.lines
        # The platform is to be found by the program itself.
        self.tarq.start(
            env={"TARQ_ASSIST": self.features, "ASAN_OPTIONS": self.sanitizer_options()},
            wrapper=["env", "-u", "QT_QPA_PLATFORM", f"PATH={path}"],
        )
        self.tarq.process.wait_for_line(f"^\\[4\\] Wayland: {way or self.way}")
        self.bubble = Bubble(self.desktop, self.tarq.process.pid)
        # The splash lies above what the desktop asks.
        self.bubble.wait_alone()
        self.answer_questions()
        return self.tarq.process

    def sanitizer_options(self) -> str:
        return ":".join(filter(None, [self.desktop.env.get("ASAN_OPTIONS"), self.asan_options]))

    def answer_questions(self) -> None:
        """What the desktop asks at a start, before which nothing can arrive."""

    def send_toggle(self) -> None:
        if self.clicks:
            self.desktop.click(*self.bubble.point())
        else:
            super().send_toggle()

    def check_focus(self) -> None:
        """It has never left the editor since Tarq was started."""
        before = len(self.focus_events)
        self.assertNotIn("unfocused", self.editor.process.lines[before:])

    def check_bubble(self) -> None:
        at = self.bubble.geometry()
        self.assertTrue(at.shown)
        self.assertEqual((at.x, at.y, at.width, at.height), PLACE)

    def open_menu(self) -> Menu:
        self.desktop.click(*self.bubble.point(), button=3)
        return self.bubble.wait_menu()

    def wait_window(self, title: str) -> None:
        search = ["xdotool", "search", "--onlyvisible", "--name", f"^{title}$"]
        self.desktop.wait_until(lambda: self.desktop.run(search, check=False).stdout, title)

    def check_dictations(self, *texts: str) -> None:
        for count, text in enumerate(texts, start=1):
            self.backend.set_transcript(text)
            self.start_recording()
            self.check_bubble()
            self.check_focus()
            self.toggle()
            self.wait_delivered(list(texts[:count]))
            self.check_focus()

    def wait_delivered(self, texts: list[str], editor: Editor | None = None) -> None:
        (editor or self.editor).wait_for_text("".join(texts))
        self.desktop.wait_until(
            lambda: self.tarq.history() == list(reversed(texts)), "the history"
        )
        self.desktop.wait_until(lambda: not self.tarq.recordings(), "the end of the dictation")


class AssistedDictations:
    """What has to hold on every compositor."""

    def test_dictations_arrive_and_the_editor_keeps_the_focus(self):
        self.start_tarq()
        self.check_bubble()
        self.check_dictations("first", "second", "Größe 5 € 日本")

    def test_clicks_on_the_bubble_dictate_and_the_editor_keeps_the_focus(self):
        self.start_tarq()
        self.clicks = True
        self.check_dictations("first", "second")

    def test_dictation_arrives_in_an_x11_editor(self):
        self.start_tarq()
        self.desktop.env["QT_QPA_PLATFORM"] = "xcb"
        editor = Editor(self.desktop, program("harness-editor"))
        self.backend.set_transcript("through XWayland")
        self.record()
        self.wait_delivered(["through XWayland"], editor)
        self.assertEqual(self.editor.text(), "")

    def test_choices_in_the_menu_open_their_windows(self):
        self.start_tarq()
        for entry in ("About Tarq", "Settings", "Profile"):
            menu = self.open_menu()
            self.desktop.click(*menu.point(entry))
            menu.wait_closed()
            self.wait_window(f"Tarq — {entry.removesuffix(' Tarq')}")

    def test_press_elsewhere_closes_the_menu_and_goes_nowhere_else(self):
        self.start_tarq()
        menu = self.open_menu()
        self.desktop.click(*ELSEWHERE)
        menu.wait_closed()
        # The keyboard is the editor's again.
        self.backend.set_transcript("after the menu")
        self.record()
        self.wait_delivered(["after the menu"])

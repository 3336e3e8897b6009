import os
from pathlib import Path

from harness.bubble import GRIP, Bubble
from harness.desktop import VirtualDesktop
from harness.picture import Picture, blend, distance
from harness.testcase import DictationTestCase

# Fill at the left and at the right end, and width, of the pill in each state.
IDLE = ("#C1171E2D", "#D1242F43", 60)
RECORDING = ("#CA243246", "#D243608A", 100)
PROCESSING = ("#C41D2636", "#D03A4E70", 73)
# Of a channel: the gradient's first pixels aren't its ends, and the window itself darkens a little.
TOLERANCE = 6


class PicturesTest(DictationTestCase):
    """What the compositor puts on the screen, in colours and by the ruler."""

    def make_session(self):
        return VirtualDesktop(compositor=True)

    def setUp(self):
        super().setUp()
        self.bubble = Bubble(self.desktop, self.tarq.process.pid)
        # The pointer must not lie on what is looked at.
        self.desktop.run(["xdotool", "mousemove", "300", "700"])

    def take(self, name: str) -> Picture:
        directory = Path(os.environ.get("TARQ_TEST_ARTIFACTS", self.desktop.tmp)) / "pictures"
        directory.mkdir(parents=True, exist_ok=True)
        path = directory / f"{name}.png"
        self.desktop.screenshot(path)
        return Picture(path)

    def matches(self, picture: Picture, left: str, right: str, width: int) -> bool:
        window = self.bubble.geometry()
        y = window.y + GRIP[1]
        background = picture.pixel(window.x + 2, window.y + 2)
        row = picture.row(y, window.x, window.x + window.width)
        pill = [x for x, colour in enumerate(row) if distance(colour, background) > 20]
        if not pill or abs(pill[-1] + 1 - pill[0] - width) > 1:
            return False
        return (
            distance(row[pill[0] + 4], blend(left, background)) <= TOLERANCE
            and distance(row[pill[-1] - 4], blend(right, background)) <= TOLERANCE
        )

    def wait_for(self, name: str, look: tuple[str, str, int]) -> Picture:
        """Wait until the animations have ended in this look, and keep the picture."""
        self.desktop.wait_until(lambda: self.matches(self.take(name), *look), f"the look {name}")
        return self.take(name)

    def test_states(self):
        self.backend.set_transcript("seen in every state")
        self.spoken.append("seen in every state")
        self.backend.script([{"recognise": True, "delay_ms": 4000}])
        self.wait_for("1-idle", IDLE)
        self.tarq.toggle()
        self.tarq.wait_recording()
        silent = self.wait_for("2-recording-silent", RECORDING)
        speech = self.microphone.start_speaking("seen in every state")

        def is_loud() -> bool:
            nonlocal speech
            if speech.status is not None:  # said before anybody had a look
                speech = self.microphone.start_speaking("seen in every state")
            return self.height_of_middle_bar(self.take("3-recording-loud")) > 10

        self.desktop.wait_until(is_loud, "a loud wave")
        speech.wait()
        self.assertLessEqual(self.height_of_middle_bar(silent), 4)
        self.tarq.toggle()
        self.wait_for("4-processing", PROCESSING)
        self.editor.wait_for_text("seen in every state")
        self.wait_for("1-idle", IDLE)

    def height_of_middle_bar(self, picture: Picture) -> int:
        x, y = self.bubble.point()
        column = [picture.pixel(x, row) for row in range(y - 14, y + 15)]
        return sum(min(colour) > 200 for colour in column)

    def test_recording_dot_is_red(self):
        self.backend.set_transcript("red")
        self.tarq.toggle()
        self.tarq.wait_recording()
        window = self.bubble.geometry()

        def is_red() -> bool:
            red, green, blue = self.take("2-recording-silent").pixel(
                window.x + 19 + 15, window.y + 19 + 15
            )
            return red > 180 and green < 60 and blue < 70

        self.desktop.wait_until(is_red, "the dot")
        self.spoken.append("red")
        self.tarq.toggle()
        self.editor.wait_for_text("red")

    def test_pressed_pill_is_smaller(self):
        self.wait_for("1-idle", IDLE)
        self.bubble.hover()
        self.desktop.run(["xdotool", "mousedown", "1"])
        left, right, _width = IDLE
        self.desktop.wait_until(
            lambda: self.matches(self.take("5-pressed"), left, right, 54), "the pressed pill"
        )
        # Away before the release, so that nothing is dictated.
        self.desktop.run(["xdotool", "mousemove_relative", "--", "-40", "0"])
        self.desktop.run(["xdotool", "mouseup", "1"])

    def test_menu_is_readable(self):
        menu = self.bubble.open_menu()
        at = menu.geometry()

        def looks_right() -> bool:
            picture = self.take("6-menu")
            middle = at.x + at.width - 20
            rows = [picture.pixel(middle, at.y + 4 + 36 * row + 18) for row in range(1, 4)]
            # A letter of every entry's text, somewhere in its row.
            written = [
                max(min(c) for c in picture.row(at.y + 4 + 36 * row + 18, at.x, at.x + 100))
                for row in range(1, 4)
            ]
            plain = all(distance(colour, (0x1A, 0x1E, 0x2E)) <= TOLERANCE for colour in rows)
            return plain and min(written) > 120

        self.desktop.wait_until(looks_right, "the menu's look")
        self.desktop.press("Escape")
        menu.wait_closed()

    def test_dragged_bubble_looks_the_same(self):
        self.bubble.drag(-60, 260)
        self.desktop.run(["xdotool", "mousemove", "300", "700"])
        self.wait_for("7-dragged", IDLE)

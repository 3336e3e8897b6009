from harness.bubble import Bubble
from harness.testcase import DictationTestCase


class MenuTest(DictationTestCase):
    def setUp(self):
        super().setUp()
        self.bubble = Bubble(self.desktop, self.tarq.process.pid)
        self.bubble.wait_alone()

    def test_whole_menu_lies_on_the_screen(self):
        at = self.bubble.open_menu().geometry()
        self.assertEqual(at.width, 180)
        self.assertEqual(at.height, 5 * 36 + 1 + 8)
        self.assertGreaterEqual(at.x, 0)
        self.assertLessEqual(at.x + at.width, 1280)
        self.assertLessEqual(at.y + at.height, 800)

    def test_whole_menu_lies_on_the_screen_in_the_corner(self):
        self.bubble.drag(-30, 380)
        self.desktop.wait_until(lambda: self.bubble.geometry().y > 600, "the bubble to move")
        at = self.bubble.open_menu().geometry()
        self.assertLessEqual(at.y + at.height, 800)

    def test_entries_close_it(self):
        for entry in ("Profile", "History", "Settings", "About Tarq"):
            with self.subTest(entry):
                menu = self.bubble.open_menu()
                menu.choose(entry)
                menu.wait_closed()
                self.assertEqual(self.tarq.recordings(), [])

    def test_quit_ends_the_program(self):
        self.bubble.open_menu().choose("Quit Tarq")
        self.assertEqual(self.tarq.process.wait(20), 0)

    def test_escape_closes_it(self):
        menu = self.bubble.open_menu()
        self.desktop.press("Escape")
        menu.wait_closed()

    def test_keys_choose(self):
        self.bubble.open_menu()
        for _ in range(5):
            self.desktop.press("Down")
        self.desktop.press("Return")
        self.assertEqual(self.tarq.process.wait(20), 0)

    def test_press_elsewhere_closes_it_and_goes_nowhere_else(self):
        menu = self.bubble.open_menu()
        self.desktop.run(["xdotool", "mousemove", "--sync", "300", "300", "click", "1"])
        menu.wait_closed()
        # The keyboard is free again.
        self.editor.focus()
        self.desktop.type("free")
        self.editor.wait_for_text("free")

"""Dictations under a Wayland compositor, from the key that it has bound to `--toggle`.

The clipboard of a program is only taken by the compositor together with the serial of an
input event that is younger than the clipboard's content. Tarq has none: the user's key
press went to the compositor. So it passes over the transcript, without telling anybody,
and the paste keys paste what the clipboard held before. The text isn't lost, as the
history has it. These tests pin what happens, so that a change is noticed, and try what
the user's guide recommends.
"""

import unittest

from harness.picture import Picture
from harness.sway import SwaySession
from wayland import WaylandTestCase, from_guide

# Longer than it takes to click into another window.
ANSWER_DELAY_MS = 4000

# What sway makes of 88 and 36 hundredths of its screen, and the bubble's own size.
RULED_PLACE = {"x": 1126, "y": 288, "width": 138, "height": 110}
BUBBLE_CENTRE = (1195, 343)

# In the first row of the bubble's menu, beside the text, and its background.
MENU_POINT = (1150, 364)
MENU_COLOUR = (0x1A, 0x1E, 0x2E)


class WaylandTest(WaylandTestCase):
    """A compositor that knows nothing of Tarq but the key."""

    def test_bubble_floats_and_takes_focus_and_paste_keys_when_it_appears(self):
        self.start_tarq(self.watched_paste_tool())
        self.wait_hidden()
        self.backend.set_transcript("first")
        self.start_recording()
        bubble = self.bubble()
        self.assertEqual(bubble["app_id"], "tarq-linux")
        self.assertEqual(bubble["type"], "floating_con")
        self.assertEqual((bubble["rect"]["width"], bubble["rect"]["height"]), (138, 110))
        self.assertTrue(bubble["focused"])
        self.toggle()
        self.wait_pasted()
        self.assertEqual(self.tarq.history(), ["first"])
        self.assertEqual(self.desktop.clipboard(), "")
        self.assertEqual(self.editor.text(), "")

    def test_missing_paste_tool_is_logged_and_the_history_has_the_text(self):
        self.expected_log = [r"^\[1\] Text injection failed: wtype not found \(\?:0\)$"]
        self.start_tarq(path="/nowhere")
        self.backend.set_transcript("not pasted")
        self.record()
        self.tarq.process.wait_for_line("Text injection failed")
        self.assertEqual(self.tarq.history(), ["not pasted"])
        self.assertEqual(self.editor.text(), "")


class RuledWaylandTest(WaylandTestCase):
    """A compositor with the lines of the guide."""

    configuration = from_guide("", "bindsym")

    def check_place(self) -> None:
        bubble = self.bubble()
        self.assertEqual(bubble["rect"], RULED_PLACE)
        self.assertTrue(bubble["sticky"])
        self.assertEqual(self.desktop.active_window(), self.editor.process.pid)

    def click_bubble(self) -> None:
        self.wait_toggle_guard()
        self.desktop.click(*BUBBLE_CENTRE)

    def test_bubble_keeps_its_place_and_the_editor_the_focus_also_after_hiding(self):
        self.start_tarq()
        for text in ("first", "second"):
            self.wait_hidden()
            self.backend.set_transcript(text)
            self.start_recording()
            self.check_place()
            self.toggle()
            self.desktop.wait_until(lambda: text in self.tarq.history(), "the text")

    def test_dictation_reaches_the_history_but_not_the_clipboard(self):
        sentence = "please write this sentence into my editor"
        self.start_tarq(self.watched_paste_tool())
        self.start_recording()
        self.speak(sentence)
        self.toggle()
        self.wait_pasted()
        self.assertEqual(self.tarq.history(), [sentence])
        self.assertEqual([request["status"] for request in self.backend.requests()], [200])
        self.assertEqual(self.tarq.recordings(), [])
        self.assertEqual(self.desktop.clipboard(), "")
        # What is typed now comes after the paste keys.
        self.desktop.type("end")
        self.editor.wait_for_text("end")

    def test_paste_keys_paste_what_was_copied_before_although_super_is_held(self):
        self.start_tarq(self.watched_paste_tool())
        self.desktop.set_clipboard("copied earlier")
        self.backend.set_transcript("dictated")
        self.start_recording()
        held = self.hold_toggle()
        self.editor.wait_for_text("copied earlier")
        self.assertIsNone(held.status)
        held.stop()
        self.wait_pasted()
        self.assertEqual(self.desktop.clipboard(), "copied earlier")
        self.assertEqual(self.tarq.history(), ["dictated"])

    def test_text_arrives_after_a_key_stroke_in_the_bubble_until_something_is_copied(self):
        self.start_tarq(self.watched_paste_tool())
        self.backend.set_transcript("arrives ")
        self.start_recording()
        self.desktop.activate(self.tarq.process.pid)
        self.desktop.press("x")
        self.editor.focus()
        self.toggle()
        self.editor.wait_for_text("arrives")
        self.wait_pasted()
        self.desktop.set_clipboard(" copied")
        self.backend.set_transcript("lost")
        self.record()
        self.editor.wait_for_text("arrives copied")
        self.wait_pasted()

    def test_script_of_the_guide_types_the_text_although_super_is_held(self):
        script = self.desktop.home / "wtype"
        script.write_text(from_guide("sh", "#!/bin/sh"), encoding="utf-8")
        script.chmod(0o755)
        self.start_tarq(f"{self.desktop.home}:/usr/bin:/bin")
        self.desktop.set_clipboard("copied earlier")
        self.backend.set_transcript(" Größe: 5 €, naïve 日本 ")
        self.start_recording()
        held = self.hold_toggle()
        self.editor.wait_for_text("Größe: 5 €, naïve 日本")
        self.assertIsNone(held.status)
        held.stop()
        self.assertEqual(self.desktop.clipboard(), "copied earlier")

    def test_click_on_the_bubble_gives_it_the_focus_the_clipboard_and_the_paste_keys(self):
        self.desktop.plug_in_pointer()
        self.start_tarq(self.watched_paste_tool())
        self.backend.set_transcript("clicked")
        self.start_recording()
        self.click_bubble()
        self.wait_pasted()
        self.assertEqual(self.desktop.clipboard(), "clicked")
        self.assertTrue(self.bubble()["focused"])
        self.assertEqual(self.editor.text(), "")

    def test_clipboard_takes_the_text_while_a_window_clicked_after_the_bubble_has_the_focus(self):
        self.desktop.plug_in_pointer()
        self.start_tarq(self.watched_paste_tool())
        self.backend.script([{"recognise": True, "delay_ms": ANSWER_DELAY_MS}])
        self.backend.set_transcript("clicked back")
        self.start_recording()
        self.click_bubble()
        self.desktop.click(100, 400)
        self.wait_pasted()
        # The keys of a keyboard that has just appeared may be lost on their way.
        self.assertEqual(self.desktop.clipboard(), "clicked back")
        self.assertFalse(self.bubble()["focused"])

    def test_escape_closes_the_menu(self):
        self.desktop.plug_in_pointer()
        self.start_tarq()
        self.start_recording()  # while it runs the bubble doesn't hide
        self.assertFalse(self.menu_is_open())
        self.desktop.click(*BUBBLE_CENTRE, button=3)
        self.desktop.wait_until(self.menu_is_open, "the menu")
        self.desktop.press("Escape")
        self.desktop.wait_until(lambda: not self.menu_is_open(), "the end of the menu")

    def menu_is_open(self) -> bool:
        screenshot = self.desktop.root / "menu.png"
        self.desktop.screenshot(screenshot)
        return Picture(screenshot).pixel(*MENU_POINT) == MENU_COLOUR


class XwaylandTest(WaylandTestCase):
    """Tarq as an X11 program under the same compositor."""

    configuration = from_guide("", "bindsym").replace('app_id="tarq-linux"', 'class="^Tarq$"')
    qt_platform = "xcb"

    def make_session(self) -> SwaySession:
        return SwaySession(xwayland=True)

    def test_clipboard_passes_the_text_over(self):
        self.start_tarq(self.watched_paste_tool())
        self.wait_hidden()
        self.backend.set_transcript("dictated")
        self.start_recording()
        self.assertEqual(self.bubble()["type"], "floating_con")
        self.toggle()
        self.wait_pasted()
        self.assertEqual(self.tarq.history(), ["dictated"])
        self.assertEqual(self.desktop.clipboard(), "")
        self.assertEqual(self.editor.text(), "")


if __name__ == "__main__":
    unittest.main()

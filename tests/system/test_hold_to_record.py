from harness.testcase import DictationTestCase


class HoldToRecordTest(DictationTestCase):
    starts_tarq = False

    def hold(self) -> None:
        self.desktop.run(["xdotool", "keydown", "super", "keydown", "space"])

    def release(self) -> None:
        self.desktop.run(["xdotool", "keyup", "space", "keyup", "super"])

    def dictate_by_hold(self) -> None:
        self.backend.set_transcript("held and spoken")
        self.spoken.append("held and spoken")
        self.hold()
        self.tarq.wait_recording()
        self.release()
        self.editor.wait_for_text("held and spoken")
        self.desktop.wait_until(lambda: not self.tarq.recordings(), "the recording to go")

    def test_hold_dictates_without_key_repeat(self):
        self.desktop.run(["xset", "r", "off"])
        self.start_tarq()
        self.dictate_by_hold()

    def test_hold_dictates_with_key_repeat_and_the_variable(self):
        self.start_tarq(env={"TARQ_X11_DETECTABLE_REPEAT": "1"})
        self.dictate_by_hold()

    def test_variable_counts_in_an_env_file_too(self):
        self.tarq.sign_in()
        (self.tarq.config / ".env").write_text("TARQ_X11_DETECTABLE_REPEAT=1\n")
        self.start_tarq(signed_in=False)
        self.dictate_by_hold()

    def test_key_repeat_keeps_a_hold_from_recording(self):
        self.start_tarq()
        self.hold()
        # The editor sees none of the blanks either: the key is grabbed.
        with self.assertRaises(AssertionError):
            self.tarq.wait_recording(timeout=4)
        self.release()
        self.assertEqual(self.editor.text(), "")

    def test_tap_goes_nowhere(self):
        self.start_tarq()
        self.desktop.run(["xdotool", "key", "super+space"])
        self.desktop.type("x")
        self.editor.wait_for_text("x")
        self.assertEqual(self.tarq.recordings(), [])

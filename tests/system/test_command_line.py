"""The options that end at once, and what they print."""

import signal
import unittest

from tests.system.support import DAY_S, DEFAULT_FILES, NO_INSTANCE, CommandLineTestCase

# The whole text is one message: every line after the first is indented by the log.
HELP = """\
[4] Tarq — Floating voice-to-text assistant
 
 Usage:
   tarq-linux              Launch the overlay
   tarq-linux --toggle     Toggle recording on a running instance
 
 Smoke tests:
   --amplitude-smoke [f]   Test amplitude processor (0.0-1.0)
   --recording-wave-smoke [ms]  Test wave controller
   --audio-smoke [ms]      Test audio capture pipeline
   --session-smoke         Print detected session type
 
 Hotkey:
   Hold Super+Space (1.5s) Push-to-talk: hold to record, release to transcribe
   For Wayland: bind 'tarq-linux --toggle' to a custom shortcut
 
 Requirements:
   xdotool (X11) or wtype (Wayland) for text injection
   PipeWire or PulseAudio for audio capture
 
 Config: ~/.config/Tarq-Linux/
 Cache:  ~/.cache/Tarq-Linux/ (?:0)
"""  # noqa: W293


class HelpTest(CommandLineTestCase):
    def test_help_is_one_log_message(self):
        for option in ("--help", "-h"):
            with self.subTest(option):
                self.check(self.run_tarq(option), stderr=HELP)

    def test_help_on_a_new_account_creates_the_scaffold_first(self):
        self.assertFalse(self.config.exists())
        self.check(self.run_tarq("--help"), stderr=HELP)
        modes = {"": 0o700, "spool": 0o700, **dict.fromkeys(DEFAULT_FILES, 0o600)}
        for name, mode in modes.items():
            self.assertEqual((self.config / name).stat().st_mode & 0o777, mode, name)
        for name, content in DEFAULT_FILES.items():
            self.assertEqual((self.config / name).read_text(), content, name)

    def test_help_sweeps_no_recordings(self):
        old = self.write(self.cache / "tarq-linux-old.wav", "", age_s=2 * DAY_S)
        self.check(self.run_tarq("--help"), stderr=HELP)
        self.assertTrue(old.exists())

    def test_help_outranks_every_other_option_wherever_it_stands(self):
        for arguments in (["--help", "--toggle"], ["--audio-smoke", "--toggle", "-h"]):
            with self.subTest(arguments):
                self.check(self.run_tarq(*arguments), stderr=HELP)

    def test_options_are_matched_exactly(self):
        running = self.start_tarq()
        for argument in ("--HELP", "--help=1", "-help", "help", "--toggle=1", "-t"):
            with self.subTest(argument):
                self.check(self.run_tarq(argument))
        self.assertEqual(self.end_tarq(running), [])


class WithoutDisplayTest(CommandLineTestCase):
    """What shows nothing needs no display, unless the user insists on a platform."""

    def setUp(self) -> None:
        super().setUp()
        for name in ("QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"):
            self.session.env.pop(name, None)

    def test_one_shot_options_need_none(self):
        self.check(self.run_tarq("--help"), stderr=HELP)
        self.check(self.run_tarq("--toggle"), status=1, stderr=NO_INSTANCE)
        for option in ("--session-smoke", "--amplitude-smoke", "--recording-wave-smoke"):
            with self.subTest(option):
                done = self.run_tarq(option)
                self.assertEqual(done.returncode, 0, done.stderr)

    def test_toggle_reaches_the_instance_that_has_one(self):
        running = self.start_tarq(env={**self.CONFIGURED, "QT_QPA_PLATFORM": "offscreen"})
        self.check(self.run_tarq("--toggle"))
        self.assertEqual(self.end_tarq(running), [])

    def test_chosen_platform_is_used(self):
        for option in ("--toggle", "--session-smoke"):
            with self.subTest(option):
                done = self.run_tarq(option, env={"QT_QPA_PLATFORM": "xcb"})
                self.assertEqual(done.returncode, -signal.SIGABRT, done.stderr)
                self.assertIn("could not connect to display", done.stderr)


class InstallationTest(CommandLineTestCase):
    MODULE = "tarq-instance.so"

    def test_client_loads_nothing_of_the_interface(self):
        """Loading it would take longer than all the rest."""
        done = self.run_tarq("--toggle", env={"LD_DEBUG": "files"})
        self.assertIn("libQt6Widgets", done.stderr)
        for library in ("libQt6Qml", "libQt6Quick", self.MODULE):
            self.assertNotIn(library, done.stderr)

    def test_missing_module_is_told(self):
        self.program = self.session.copy_program(self.program, self.session.root)
        (self.session.root / self.MODULE).unlink()
        done = self.run_tarq()
        self.assertEqual(done.returncode, 1)
        self.assertRegex(
            done.stderr, rf"^\[1\] Tarq is not installed completely: .*{self.MODULE}.* \(\?:0\)\n$"
        )
        self.check(self.run_tarq("--help"), stderr=HELP)


class ToggleTest(CommandLineTestCase):
    def test_without_an_instance_it_says_so(self):
        self.check(self.run_tarq("--toggle"), status=1, stderr=NO_INSTANCE)

    def test_stale_token_file_is_no_instance(self):
        token = self.write(self.config / "ipc-token", "8f14e45f-ceea-467f-9575-6bd2c1b4a3d2")
        self.check(self.run_tarq("--toggle"), status=1, stderr=NO_INSTANCE)
        self.assertTrue(token.exists())

    def test_instance_that_has_ended_is_no_instance(self):
        self.end_tarq(self.start_tarq())
        self.check(self.run_tarq("--toggle"), status=1, stderr=NO_INSTANCE)

    def test_empty_token_file_is_no_instance(self):
        running = self.start_tarq()
        (self.config / "ipc-token").write_text("")
        self.check(self.run_tarq("--toggle"), status=1, stderr=NO_INSTANCE)
        self.assertEqual(self.end_tarq(running), [])

    def test_running_instance_is_toggled_silently(self):
        running = self.start_tarq()
        self.check(self.run_tarq("--toggle"))
        self.assertEqual(self.end_tarq(running), [])

    def test_toggle_outranks_the_smoke_options(self):
        done = self.run_tarq("--audio-smoke", "--toggle")
        self.check(done, status=1, stderr=NO_INSTANCE)
        self.assertFalse(self.cache.exists())


class RequiredVariablesTest(CommandLineTestCase):
    MISSING = "[2] SUPABASE_URL and SUPABASE_ANON_KEY must be set in environment or .env (?:0)\n"

    def test_plain_start_ends_without_them(self):
        rows = [
            {},
            {"SUPABASE_URL": self.NOWHERE},
            {"SUPABASE_ANON_KEY": "anonymous"},
            {"SUPABASE_URL": "", "SUPABASE_ANON_KEY": "anonymous"},
        ]
        for env in rows:
            with self.subTest(env):
                self.check(self.run_tarq(env=env), status=1, stderr=self.MISSING)

    def test_unknown_argument_is_a_plain_start(self):
        self.check(self.run_tarq("--foo"), status=1, stderr=self.MISSING)

    def test_handover_needs_none_of_them(self):
        running = self.start_tarq()
        self.check(self.run_tarq())
        self.assertEqual(self.end_tarq(running), [])

    def test_toggle_needs_none_of_them(self):
        running = self.start_tarq()
        self.check(self.run_tarq("--toggle"))
        self.assertEqual(self.end_tarq(running), [])


class EnvironmentFileTest(CommandLineTestCase):
    """Both required variables have to come from somewhere for the program to start."""

    MISSING = RequiredVariablesTest.MISSING

    def setUp(self) -> None:
        super().setUp()
        # A copy, so that a file can be put beside the binary.
        self.program = self.session.copy_program(self.program, self.session.root)
        self.beside = self.session.root / ".env"
        self.in_config = self.config / ".env"

    def check_starts(self, env: dict[str, str]) -> None:
        self.assertEqual(self.end_tarq(self.start_tarq(env=env)), [])

    def test_variables_may_come_from_either_file(self):
        self.write(self.in_config, "SUPABASE_URL=http://127.0.0.1:9\n")
        self.write(self.beside, "SUPABASE_ANON_KEY=anonymous")
        self.check_starts({})

    def test_empty_variable_is_filled_from_a_file(self):
        self.write(self.in_config, "SUPABASE_URL = http://127.0.0.1:9\n")
        self.check_starts({"SUPABASE_URL": "", "SUPABASE_ANON_KEY": "anonymous"})

    def test_empty_value_in_the_first_file_is_filled_from_the_second(self):
        self.write(self.in_config, "SUPABASE_URL=\nSUPABASE_ANON_KEY=\n")
        self.write(self.beside, "SUPABASE_URL=http://127.0.0.1:9\nSUPABASE_ANON_KEY=anonymous\n")
        self.check_starts({})

    def test_comments_and_lines_without_a_key_are_passed_over(self):
        self.write(
            self.in_config,
            "# SUPABASE_URL=x\nNOEQUALS\n=x\n\nexport SUPABASE_URL=x\nsupabase_url=x\n",
        )
        done = self.run_tarq(env={"SUPABASE_ANON_KEY": "anonymous"})
        self.check(done, status=1, stderr=self.MISSING)


if __name__ == "__main__":
    unittest.main()

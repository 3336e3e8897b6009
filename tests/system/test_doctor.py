"""What tarq-doctor says of a desktop, and what it sets up there."""

import json
import socket
import stat
import unittest

from harness.desktop import VirtualDesktop
from harness.testcase import TarqTestCase, program
from harness.x11 import super_and_space_grabbed

LINE = r"^(ok  |hint|do  ) [A-Za-z0-9_ -]+: .+$"
VARIABLE = "TARQ_ASSIST=all\n"


class DoctorTestCase(TarqTestCase):
    starts_tarq = False

    def make_session(self):
        return VirtualDesktop()

    def doctor(self, *arguments: str, stdin: str = "", **env: str):
        variables = [f"{name}={value}" for name, value in env.items()]
        return self.desktop.run(
            ["env", *variables, program("tarq-doctor"), *arguments],
            env=self.tarq.environment(),
            stdin=stdin,
            check=False,
        )

    def findings(self, **env: str) -> tuple[bool, dict[str, tuple[str, str]]]:
        """Whether a dictation arrives, and by subject the verdict and the words."""
        done = self.doctor("--json", **env)
        self.assertIn(done.returncode, (0, 1), done.stderr)
        answer = json.loads(done.stdout)
        self.assertEqual(done.returncode, 0 if answer["arrives"] else 1)
        return answer["arrives"], {
            finding["subject"]: (finding["verdict"], finding["text"])
            for finding in answer["findings"]
        }

    def problems(self, **env: str) -> set[str]:
        _arrives, findings = self.findings(**env)
        return {subject for subject, (verdict, _text) in findings.items() if verdict == "do"}


class DoctorTest(DoctorTestCase):
    def test_desktop_where_a_dictation_arrives(self):
        self.start_tarq()
        self.microphone.start_speaking("hello " * 50)
        done = self.doctor(XDG_CURRENT_DESKTOP="Openbox")
        self.assertEqual(done.returncode, 0, done.stdout)
        for line in done.stdout.splitlines():
            self.assertRegex(line, LINE)
        self.assertIn("ok   session: X11, Openbox\n", done.stdout)
        self.assertIn("ok   text: pasted by xdotool\n", done.stdout)
        self.assertRegex(done.stdout, r"ok   microphone: level [1-9][0-9]* %\n")
        self.assertRegex(done.stdout, r"ok   signed in: until .+\n")
        self.assertIn("ok   running: Tarq is running and listens\n", done.stdout)
        self.assertEqual(self.tarq.recordings(), [])

    def test_nothing_secret_is_printed(self):
        self.tarq.sign_in()
        tokens = json.loads(self.tarq.keys_file.read_text())
        for arguments in ([], ["--json"]):
            printed = self.doctor(*arguments)
            for secret in (self.backend.url, "anonymous", tokens["accessToken"]):
                self.assertNotIn(secret, printed.stdout + printed.stderr)

    def test_address_without_an_answer_is_not_printed(self):
        done = self.doctor(SUPABASE_URL="http://private.invalid", WORKER_URL="http://private.invalid")
        self.assertIn("do   auth service: Look at the network", done.stdout)
        self.assertNotIn("private", done.stdout + done.stderr)

    def test_looking_writes_nothing(self):
        self.doctor()
        self.assertFalse(self.tarq.config.exists())

    def test_silence_is_a_hint(self):
        _arrives, findings = self.findings()
        self.assertEqual(findings["microphone"][0], "hint")

    def test_each_thing_that_is_missing_is_a_problem(self):
        self.assertEqual(self.problems(), {"signed in"})
        self.tarq.sign_in()
        self.assertEqual(self.problems(), set())
        tools = self.desktop.root / "tools"
        tools.mkdir()
        closed = "http://127.0.0.1:1"
        rows = [
            ("text", {"PATH": str(tools)}),
            ("text", {"DISPLAY": ":99999"}),
            ("text", {"XDG_SESSION_TYPE": "wayland"}),
            ("SUPABASE_ANON_KEY", {"SUPABASE_ANON_KEY": ""}),
            ("worker", {"WORKER_URL": closed}),
            ("auth service", {"SUPABASE_URL": closed}),
            ("microphone", {"PULSE_SERVER": "/nowhere"}),
        ]
        for subject, env in rows:
            with self.subTest(subject):
                self.assertIn(subject, self.problems(**env))

    def test_session_that_has_ended(self):
        self.tarq.sign_in(lifetime=-60)
        self.assertNotIn("signed in", self.problems())
        tokens = json.loads(self.tarq.keys_file.read_text())
        self.tarq.keys_file.write_text(json.dumps({**tokens, "refreshToken": ""}))
        self.assertIn("signed in", self.problems())

    def test_recording_that_waits_is_named(self):
        self.tarq.cache.mkdir(parents=True)
        recording = self.tarq.cache / "tarq-linux-1.wav"
        recording.touch()
        _arrives, findings = self.findings()
        self.assertEqual(findings["recordings"][0], "hint")
        self.assertIn(str(recording), findings["recordings"][1])

    def test_hotkey_of_another_program(self):
        _arrives, findings = self.findings()
        self.assertEqual(findings["hotkey"], ("ok", "Super+Space is free"))
        with super_and_space_grabbed(self.desktop.env["DISPLAY"]):
            _arrives, findings = self.findings()
        self.assertEqual(findings["hotkey"][0], "hint")


class SetupTest(DoctorTestCase):
    @property
    def env_file(self):
        return self.tarq.config / ".env"

    def test_nothing_is_written_without_a_yes(self):
        for answer in ("n\n", "", "no\nno\n"):
            self.doctor("--setup", stdin=answer, XDG_CURRENT_DESKTOP="sway")
            self.assertFalse(self.env_file.exists())

    def test_variable_is_written_once_and_taken_back(self):
        self.tarq.config.mkdir(parents=True)
        self.env_file.write_text("A=b\nTARQ_ASSIST=repeat")
        for _time in range(2):
            self.assertEqual(self.doctor("--setup", stdin="y\n").returncode, 0)
            self.assertEqual(self.env_file.read_text(), "A=b\n" + VARIABLE)
        self.assertEqual(stat.S_IMODE(self.env_file.stat().st_mode), 0o600)
        self.assertEqual(self.doctor("--undo").returncode, 0)
        self.assertEqual(self.env_file.read_text(), "A=b\n")

    def test_file_that_cannot_be_written_is_told(self):
        self.env_file.mkdir(parents=True)
        done = self.doctor("--setup", stdin="y\n")
        self.assertEqual(done.returncode, 1)
        self.assertIn("can't be written", done.stdout)

    def test_file_that_cannot_be_read_is_kept(self):
        self.tarq.config.mkdir(parents=True)
        # As one without the permission would be for anybody but root.
        with socket.socket(socket.AF_UNIX) as unreadable:
            unreadable.bind(str(self.env_file))
            for arguments, answer in ((["--setup"], "y\n"), (["--undo"], "")):
                self.assertEqual(self.doctor(*arguments, stdin=answer).returncode, 1)
                self.assertTrue(self.env_file.is_socket())

    def test_line_for_the_configuration_is_printed(self):
        rows = {"sway": "bindsym", "Hyprland": "bind = SUPER", "labwc:wlroots": "<keybind"}
        for desktop, words in rows.items():
            with self.subTest(desktop):
                done = self.doctor("--setup", stdin="n\n", XDG_CURRENT_DESKTOP=desktop)
                self.assertIn(words, done.stdout)
                self.assertIn("tarq-linux --toggle", done.stdout)


if __name__ == "__main__":
    unittest.main()

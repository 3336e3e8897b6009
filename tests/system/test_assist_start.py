"""What a start does on the screen where it is asked to, by TARQ_ASSIST=start, and what it doesn't without."""

import unittest

from harness.desktop import VirtualDesktop
from harness.interface import Interface
from harness.process import exit_on_sigterm
from harness.testcase import TarqTestCase, program

MISSING = "[2] SUPABASE_URL and SUPABASE_ANON_KEY must be set in environment or .env (?:0)"
NOTICE = "Tarq"
LOGIN = "Tarq — Sign In"


class MissingServerTest(unittest.TestCase):
    def setUp(self):
        super().setUp()
        exit_on_sigterm()
        self.desktop = self.enterContext(VirtualDesktop(accessibility=True))
        self.interface = Interface(self.desktop)

    def start(self, features: str):
        return self.desktop.spawn(
            [program("tarq-linux")], env={"TARQ_ASSIST": features}, name="tarq-linux"
        )

    def test_without_the_feature_the_line_is_all(self):
        run = self.start("repeat")
        self.assertEqual(run.wait(), 1)
        self.assertEqual(run.lines, [MISSING])

    def test_notice_says_what_is_missing_and_where_it_goes(self):
        run = self.start("start")
        self.interface.wait_for_text("SUPABASE_URL and SUPABASE_ANON_KEY", NOTICE)
        self.interface.wait_for_text(r"\.config/Tarq-Linux/\.env", NOTICE)
        self.assertEqual(run.lines, [MISSING])
        self.interface.click("Close", NOTICE)
        self.assertEqual(run.wait(), 1)
        self.assertEqual(run.lines, [MISSING])


class LoginTest(TarqTestCase):
    starts_tarq = False

    def make_session(self):
        return VirtualDesktop(accessibility=True)

    def setUp(self):
        super().setUp()
        self.interface = Interface(self.desktop)

    def start_at_login(self, features: str) -> None:
        self.start_tarq(signed_in=False, env={"TARQ_ASSIST": features})
        self.interface.wait_for_window(LOGIN)

    def close_by_the_window_manager(self) -> None:
        self.desktop.run(["wmctrl", "-F", "-c", LOGIN])
        self.interface.wait_for_no_window(LOGIN)

    def test_closed_login_comes_back_at_a_second_start(self):
        self.start_at_login("start")
        self.close_by_the_window_manager()
        self.assertEqual(self.tarq.command().status, 0)
        self.interface.wait_for_window(LOGIN)

    def test_without_the_feature_a_closed_login_stays_away(self):
        self.start_at_login("repeat")
        self.close_by_the_window_manager()
        self.assertEqual(self.tarq.command().status, 0)
        # It has been heard by the time that a later message has been read.
        self.assertEqual(self.tarq.command("--toggle").status, 0)
        self.assertEqual(self.interface.elements(LOGIN), [])


if __name__ == "__main__":
    unittest.main()

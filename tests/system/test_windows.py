"""The history, profile and about windows, used as a user does."""

import json
import time
import unittest

from harness.browser import Browser
from harness.bubble import Bubble
from harness.desktop import VirtualDesktop
from harness.interface import Interface
from harness.testcase import DictationTestCase

LOGIN = "Tarq — Sign In"
PROFILE = "Tarq — Profile"
ABOUT = "Tarq — About"
HISTORY = "Tarq"


class WindowTestCase(DictationTestCase):
    starts_tarq = False

    def make_session(self):
        return VirtualDesktop(accessibility=True)

    def setUp(self):
        super().setUp()
        self.interface = Interface(self.desktop)
        self.browser = Browser(self.desktop)

    def start_tarq(self, **options):
        super().start_tarq(env={"PATH": self.browser.path}, **options)
        self.bubble = Bubble(self.desktop, self.tarq.process.pid)
        self.bubble.wait_alone()

    def choose(self, entry: str, title: str) -> None:
        self.bubble.open_menu().choose(entry)
        self.interface.wait_for_window(title)

    def exports(self, pattern: str) -> list:
        """What lies among the downloads."""
        return list(self.desktop.home.glob(f"Downloads/{pattern}"))


class HistoryTest(WindowTestCase):
    def write_history(self, texts: list[str]) -> None:
        """A history of these texts, newest first."""
        self.tarq.sign_in()
        now = int(time.time() * 1000)
        entries = [
            {"id": now - number, "text": text, "createdAt": now - number * 60_000}
            for number, text in enumerate(texts)
        ]
        (self.tarq.config / "history.json").write_text(json.dumps({"entries": entries}))

    def start_with(self, *texts: str) -> None:
        self.write_history(list(texts))
        self.start_tarq(signed_in=False)
        self.assertEqual(self.tarq.history(), list(texts))

    def show(self) -> None:
        self.assertEqual(self.tarq.command().status, 0)
        self.interface.wait_for("Sign Out", HISTORY)

    def test_dictation_stands_in_the_open_history(self):
        self.start_with("the first")
        self.show()
        self.backend.set_transcript("the second")
        self.record()
        self.interface.wait_for_text("^the second$", HISTORY)
        self.interface.wait_for_text("^2 transcripts$", HISTORY)

    def test_search_narrows_the_list_while_typing(self):
        self.start_with("apples and pears", "a bicycle", "pear trees")
        self.show()
        self.interface.fill("Search transcripts…", "pear", HISTORY)
        self.desktop.wait_until(
            lambda: not self.texts("a bicycle"), "the other transcript to go"
        )
        self.assertTrue(self.texts("apples and pears"))
        self.assertTrue(self.texts("pear trees"))
        self.desktop.type("x")
        self.interface.wait_for_text("^No matches$", HISTORY)
        self.interface.wait_for_text('^for "pearx"$', HISTORY)

    def test_copy_takes_the_whole_text(self):
        text = "many words\n" * 400
        self.start_with(text.strip())
        self.show()
        self.interface.click("Copy", HISTORY)
        self.desktop.wait_until(
            lambda: self.desktop.clipboard() == text.strip(), "the text on the clipboard"
        )

    def test_delete_removes_one(self):
        self.start_with("to be deleted", "to be kept")
        self.show()
        self.interface.click("Delete", HISTORY)
        self.desktop.wait_until(lambda: self.tarq.history() == ["to be kept"], "the deletion")

    def test_clearing_asks_first(self):
        self.start_with("one of them", "another of them")
        self.show()
        self.interface.click("Clear all", HISTORY)
        self.interface.click("Cancel", HISTORY)
        self.interface.click("Clear all", HISTORY)
        self.assertEqual(len(self.tarq.history()), 2)
        self.interface.click("Yes, clear", HISTORY)
        self.interface.wait_for_text("^No transcripts yet$", HISTORY)
        self.assertEqual(self.tarq.history(), [])

    def test_markup_and_any_script_are_shown_as_they_were_said(self):
        texts = [
            "<b>bold</b> &amp; &lt;",
            "שלום עולם",
            "e\u0301 a\u0308 \U0001f468\u200d\U0001f469\u200d\U0001f467",
            "two\nlines",
            "x" * 100_000,
        ]
        self.start_with(*texts)
        self.show()
        for text in texts[:4]:
            self.assertTrue(self.texts(text), self.interface.describe())

    def test_full_history_is_exported_whole(self):
        texts = [f"transcript number {number}" for number in range(100)]
        self.start_with(*texts)
        self.show()
        for button, suffix in (("Export as JSON", "json"), ("Export as text", "txt")):
            self.interface.click(button, HISTORY)
            status = self.interface.wait_for_text(rf"^Saved to .*\.{suffix}$", HISTORY)
            (path,) = self.exports(f"*.{suffix}")
            self.assertEqual(status, f"Saved to {path}")
            content = path.read_text(encoding="utf-8")
            self.assertEqual([text for text in texts if text not in content], [])

    def test_closing_hides_it_and_keeps_what_was_typed(self):
        self.start_with("apples")
        self.show()
        self.interface.fill("Search transcripts…", "pear", HISTORY)
        self.interface.wait_for_text("^No matches$", HISTORY)
        self.interface.click("Close", HISTORY)
        self.bubble.wait_alone()
        self.show()
        self.interface.wait_for_text("^No matches$", HISTORY)

    def test_quit_ends_the_program(self):
        self.start_with("apples")
        self.show()
        self.interface.click("Quit Tarq", HISTORY)
        self.assertEqual(self.tarq.process.wait(), 0)

    def test_links_lead_to_the_website(self):
        self.start_with("apples")
        self.show()
        self.interface.click("Website", HISTORY)
        self.interface.click("Help", HISTORY)
        self.assertTrue(self.browser.wait_for_url(1).endswith("/releases/tarq"))
        self.assertTrue(self.browser.wait_for_url(2).endswith("/releases/tarq/help"))

    def texts(self, text: str) -> list:
        return [e for e in self.interface.elements(HISTORY) if text in (e.name, e.text)]


class AccountTest(WindowTestCase):
    """The account's own requests, which go to the worker that the program was built for."""

    backend_is_built_in_worker = True

    def setUp(self):
        super().setUp()
        self.start_tarq()

    def test_profile_exports_the_account(self):
        self.choose("Profile", PROFILE)
        self.interface.wait_for_text("^demo@tarq.example$", PROFILE)
        self.interface.click("Download my data", PROFILE)
        (path,) = self.desktop.wait_until(
            lambda: [path for path in self.exports("tarq-export-*.json") if path.stat().st_size],
            "the export",
        )
        self.assertIn("demo@tarq.example", path.read_text())
        self.interface.wait_for_window(PROFILE)

    def test_profile_signs_out(self):
        self.choose("Profile", PROFILE)
        self.interface.click("Sign out", PROFILE)
        self.interface.wait_for_window(LOGIN)
        self.interface.wait_for_no_window(PROFILE)
        self.backend.requests(1, path="/v1/auth/logout")
        self.assertEqual(len(self.backend.accounts()), 1)

    def test_account_is_deleted_at_the_second_click(self):
        self.backend.set_transcript("stays here")
        self.editor.focus()
        self.record()
        self.editor.wait_for_text("stays here")
        self.choose("Profile", PROFILE)
        self.interface.click("Delete account", PROFILE)
        self.interface.click("Click again to permanently delete", PROFILE)
        self.interface.wait_for_window(LOGIN)
        self.assertEqual(self.backend.accounts(), [])
        # The sign-out that follows is for an account that has gone.
        self.backend.requests(1, path="/v1/auth/logout")
        self.assertEqual(self.tarq.history(), ["stays here"])

    def test_refused_deletion_leaves_the_user_signed_in(self):
        self.choose("Profile", PROFILE)
        self.backend.script([{"status": 500}], path="/v1/account")
        self.interface.click("Delete account", PROFILE)
        self.interface.click("Click again to permanently delete", PROFILE)
        self.interface.wait_for_no_window(PROFILE)
        self.backend.requests(1, answered=True, path="/v1/account")
        self.assertEqual(len(self.backend.accounts()), 1)
        self.editor.focus()
        self.dictate("still signed in")
        self.editor.wait_for_text("still signed in")

    def test_about_finds_that_it_is_up_to_date(self):
        self.choose("About Tarq", ABOUT)
        self.interface.click("Check for updates", ABOUT)
        self.interface.wait_for("You're up to date", ABOUT)

    def test_about_offers_another_version(self):
        answer = {"latest": {"linux": {"version": "9.9", "download_url": "https://x.example/9"}}}
        self.backend.script([{"body": answer}], path="/v1/version")
        self.choose("About Tarq", ABOUT)
        self.interface.click("Check for updates", ABOUT)
        self.interface.click("Download v9.9", ABOUT)
        self.assertEqual(self.browser.wait_for_url(), "https://x.example/9")

    def test_about_without_a_network(self):
        self.choose("About Tarq", ABOUT)
        self.backend.stop()
        self.interface.click("Check for updates", ABOUT)
        self.interface.wait_for("Network error", ABOUT)
        self.interface.click("Close", ABOUT)
        self.interface.wait_for_no_window(ABOUT)
        self.choose("About Tarq", ABOUT)
        self.interface.wait_for("Check for updates", ABOUT)

    def test_about_links_lead_to_the_website(self):
        paths = {
            "Changelog": "/releases/changelog",
            "Status": "/status",
            "Privacy": "/privacy",
            "Terms": "/terms",
            "Support": "/support",
        }
        self.choose("About Tarq", ABOUT)
        for number, (link, path) in enumerate(paths.items(), start=1):
            self.interface.click(link, ABOUT)
            self.assertTrue(self.browser.wait_for_url(number).endswith(path))


if __name__ == "__main__":
    unittest.main()

"""The icon in the system tray, in both kinds of tray."""

import contextlib
import json
import time
import unittest

from harness.bubble import Bubble
from harness.desktop import VirtualDesktop
from harness.interface import Interface
from harness.picture import Picture, distance
from harness.process import DeadlineExceeded
from harness.testcase import TarqTestCase
from harness.tray import ENTRIES, EmbeddingTray, StatusNotifierIcon, StatusNotifierTray
from tests.system.support import let_handle_everything

NO_TRAY = "[4] System tray not available — skipping tray icon (?:0)"

# The bubble goes after five seconds of rest, as a coarse timer counts them.
SHORTEST_REST_S = 4.5

# Qt's own wait of 0.7 seconds, and time to see what comes of it.
REST_FOR_TIP_S = 3

LOGIN, SETTINGS, ABOUT = "Tarq — Sign In", "Tarq — Settings", "Tarq — About"
LOGOUT = "/v1/auth/logout"

# Of the icon.
GROUND = (0x0C, 0x11, 0x1A)
RING = (0xFF, 0xFF, 0xFF)


class TrayTestCase(TarqTestCase):
    """A desktop where nothing takes text, so that the bubble goes when it rests."""

    starts_tarq = False
    backend_is_built_in_worker = True  # which is told of a sign-out

    def make_session(self):
        return VirtualDesktop(accessibility=True)

    def setUp(self):
        super().setUp()
        self.interface = Interface(self.desktop)

    def start_with_bubble(self, **options) -> Bubble:
        self.start_tarq(**options)
        return Bubble(self.desktop, self.tarq.process.pid)

    def start_with_hidden_bubble(self, **options) -> Bubble:
        bubble = self.start_with_bubble(**options)
        bubble.wait_shown(False)
        return bubble

    def start_at_login(self) -> None:
        self.start_tarq(signed_in=False)
        self.interface.wait_for_window(LOGIN)
        self.interface.wait_for_no_window("Tarq")  # the splash

    def check_stays_hidden(self, bubble: Bubble) -> None:
        """Fails if what the program has handled by now shows the bubble."""
        let_handle_everything(self.tarq.socket)
        # The window manager shows windows in the order in which they come.
        later = self.desktop.spawn(["xterm", "-class", "Thunar"])
        self.desktop.window_of(later.pid)
        self.assertFalse(bubble.is_shown())
        later.stop()

    def write_settings(self, **settings) -> None:
        self.tarq.config.mkdir(parents=True, mode=0o700)
        (self.tarq.config / "settings.json").write_text(json.dumps(settings))


class AnyTray:
    """What holds in both kinds of tray."""

    def click(self) -> None:
        raise NotImplementedError

    def choose(self, entry: str) -> None:
        raise NotImplementedError

    def has_icon(self) -> bool:
        raise NotImplementedError

    def start_for_menu(self) -> Bubble:
        return self.start_with_bubble()

    def test_setting_keeps_the_icon_away(self):
        self.write_settings(showInTray=False)
        self.start_with_bubble()
        self.assertFalse(self.has_icon())
        self.assertNotIn("tray", self.tarq.process.log())

    def test_click_and_first_entry_bring_the_bubble_back(self):
        bubble = self.start_with_hidden_bubble()
        self.click()
        bubble.wait_shown()
        bubble.wait_shown(False)
        self.choose("Show / Hide bubble")
        bubble.wait_shown()

    def test_entries_open_their_windows(self):
        self.start_for_menu()
        self.choose("Open history")
        self.interface.wait_for("Sign Out", role="push button")
        self.choose("Settings…")
        self.interface.wait_for_window(SETTINGS)
        self.choose("About Tarq")
        self.interface.wait_for_window(ABOUT)

    def test_sign_out_leads_to_the_login_window(self):
        bubble = self.start_for_menu()
        self.choose("Sign out")
        self.interface.wait_for_window(LOGIN)
        bubble.wait_shown(False)
        self.backend.requests(wait_for=1, path=LOGOUT)
        self.assertEqual(json.loads(self.tarq.keys_file.read_text())["accessToken"], "")

    def test_quit_ends_the_program(self):
        self.start_for_menu()
        self.choose("Quit")
        self.assertEqual(self.tarq.process.wait(), 0)

    def test_entries_before_a_sign_in(self):
        self.start_at_login()
        search = ["xdotool", "search", "--onlyvisible", "--name", LOGIN]
        login = self.desktop.run(search).stdout
        self.choose("Open history")
        self.choose("Settings…")
        self.interface.wait_for_window(SETTINGS)
        self.choose("Sign out")
        self.choose("About Tarq")
        self.interface.wait_for_window(ABOUT)
        # What came later is there; of the history nothing is, and the sign-out changed nothing.
        windows = {element.window for element in self.interface.elements()}
        self.assertEqual(windows, {LOGIN, SETTINGS, ABOUT})
        self.assertEqual(self.desktop.run(search).stdout, login)
        self.assertEqual(self.backend.requests(path=LOGOUT), [])
        self.choose("Quit")
        self.assertEqual(self.tarq.process.wait(), 0)


class StatusNotifierTest(AnyTray, TrayTestCase):
    """A tray of this kind tells no double click: it is two plain ones."""

    def setUp(self):
        super().setUp()
        self.tray = StatusNotifierTray(self.desktop)

    def icon(self) -> StatusNotifierIcon:
        return self.tray.wait_for_icon(self.tarq.process.pid)

    def click(self):
        self.icon().click()

    def choose(self, entry):
        self.icon().choose(entry)

    def has_icon(self):
        let_handle_everything(self.tarq.socket)
        return self.tray.has_icon(self.tarq.process.pid)

    def test_icon_has_a_name_a_picture_and_a_tool_tip(self):
        self.start_tarq()
        icon = self.icon()
        self.assertEqual(icon.property("Id"), "Tarq")
        self.assertEqual(icon.property("Status"), "Active")
        self.assertEqual(icon.tool_tip(), "Tarq — Idle")
        width, height, pixels = icon.property("IconPixmap")[0]
        colours = {tuple(pixels[at + 1 : at + 4]) for at in range(0, 4 * width * height, 4)}
        self.assertLessEqual({GROUND, RING}, colours)

    def test_menu_has_its_entries_in_order(self):
        self.start_tarq()
        self.assertEqual(self.icon().entries(), ENTRIES)

    def test_first_entry_never_hides_the_bubble(self):
        bubble = self.start_with_bubble()
        self.icon().choose("Show / Hide bubble")
        let_handle_everything(self.tarq.socket)
        self.assertTrue(bubble.is_shown())

    def test_each_ping_starts_the_rest_anew(self):
        bubble = self.start_with_hidden_bubble()
        for ping in (self.click, lambda: self.choose("Show / Hide bubble")):
            ping()
            halfway = time.monotonic() + SHORTEST_REST_S / 2
            self.desktop.wait_until(lambda: time.monotonic() > halfway, "half of the rest")
            pinged = time.monotonic()
            ping()
            bubble.wait_shown(False)
            self.assertGreater(time.monotonic() - pinged, SHORTEST_REST_S)

    def test_other_clicks_leave_the_bubble_hidden(self):
        bubble = self.start_with_hidden_bubble()
        icon = self.icon()
        icon.middle_click()
        icon.right_click()
        self.check_stays_hidden(bubble)

    def test_tool_tip_follows_a_dictation(self):
        self.start_tarq()
        icon = self.icon()
        self.backend.script([{"recognise": True, "delay_ms": 3000}])
        self.backend.set_transcript("under the tip")

        def wait_for_tool_tip(words: str) -> None:
            self.desktop.wait_until(lambda: icon.tool_tip() == words, f"the tool tip {words}")

        self.start_recording()
        self.assertEqual(icon.tool_tip(), "Tarq — Recording…")
        self.toggle()
        wait_for_tool_tip("Tarq — Processing…")
        wait_for_tool_tip("Tarq — Idle")
        self.assertEqual(self.tarq.history(), ["under the tip"])


class EmbeddingTest(AnyTray, TrayTestCase):
    def setUp(self):
        super().setUp()
        self.tray = EmbeddingTray(self.desktop)

    def click(self):
        self.desktop.wait_until(self.has_icon, "the icon")
        self.tray.click()

    def choose(self, entry):
        self.desktop.wait_until(self.has_icon, "the icon")
        menu = self.tray.open_menu()
        menu.choose(entry)
        menu.wait_closed()

    def start_for_menu(self):
        # The bubble takes the focus along when it goes, and a change of the focus closes a menu.
        return self.start_with_hidden_bubble()

    def has_icon(self):
        path = self.desktop.tmp / "tray.png"
        self.desktop.screenshot(path)
        picture, (width, height) = Picture(path), self.tray.SIZE
        shown = {colour for y in range(height) for colour in picture.row(y, 0, width)}
        return all(min(distance(colour, own) for colour in shown) < 24 for own in (GROUND, RING))

    def test_tool_tip_comes_to_a_resting_pointer(self):
        self.start_with_hidden_bubble()
        others = self.tray.windows()

        # Whatever changes the focus meanwhile, as the bubble may that has just gone, puts it off.
        def comes() -> set[str]:
            self.tray.hover()
            with contextlib.suppress(DeadlineExceeded):
                return self.desktop.wait_until(
                    lambda: self.tray.windows() - others, "the tool tip", REST_FOR_TIP_S
                )
            return set()

        tip = self.desktop.wait_until(comes, "the tool tip").pop()
        kind = self.desktop.run(["xprop", "-id", tip, "_NET_WM_WINDOW_TYPE"]).stdout
        self.assertIn("_NET_WM_WINDOW_TYPE_TOOLTIP", kind)

    def test_second_press_of_a_double_click_leaves_the_bubble_hidden(self):
        # The first press is told as a plain click, since nobody knows yet what follows. The desktop
        # says how long a double click may take: here so long that the bubble goes meanwhile.
        config = self.desktop.home / ".config"
        config.mkdir(mode=0o700, exist_ok=True)
        (config / "kdeglobals").write_text("[KDE]\nDoubleClickInterval=60000\n")
        bubble = self.start_with_hidden_bubble(
            env={"XDG_CURRENT_DESKTOP": "KDE", "KDE_SESSION_VERSION": "5"}
        )
        self.tray.click()
        bubble.wait_shown()
        bubble.wait_shown(False)
        self.tray.press_again()
        self.check_stays_hidden(bubble)

    def test_other_buttons_leave_the_bubble_hidden(self):
        bubble = self.start_with_hidden_bubble()
        self.tray.click(button=2)
        self.tray.open_menu()
        self.assertFalse(bubble.is_shown())
        self.desktop.press("Escape")
        self.check_stays_hidden(bubble)


class NoTrayTest(TrayTestCase):
    def check_told(self) -> None:
        self.assertEqual(self.tarq.lines.count(NO_TRAY), 1, self.tarq.process.log())

    def test_start_goes_on_without_a_tray(self):
        self.start_with_bubble().wait_shown()
        self.check_told()
        self.start_recording()

    def test_missing_tray_is_told_even_if_no_icon_is_wanted(self):
        self.write_settings(showInTray=False)
        self.start_tarq()
        self.check_told()

    def test_tray_on_the_bus_that_comes_later_stays_empty(self):
        self.start_tarq()
        tray = StatusNotifierTray(self.desktop)
        self.record()
        self.backend.requests(wait_for=1)
        self.assertFalse(tray.has_icon(self.tarq.process.pid))

    def test_embedding_tray_that_comes_later_stays_empty(self):
        bubble = self.start_with_bubble()
        tray = EmbeddingTray(self.desktop)
        bubble.wait_shown(False)
        self.assertEqual(tray.windows(), set())


if __name__ == "__main__":
    unittest.main()

import os
import signal
import subprocess
import sys
import unittest
from pathlib import Path
from unittest import mock

from harness.desktop import VirtualDesktop
from harness.process import Process
from harness.session import Session, processes_with_home

REPOSITORY = Path(__file__).resolve().parents[2]


class BrokenDesktop(VirtualDesktop):
    def bring_up(self) -> None:
        super().bring_up()
        raise RuntimeError("half way")


class DesktopTest(unittest.TestCase):
    def assert_gone(self, session: Session) -> None:
        self.assertEqual(list(processes_with_home(session.home)), [])
        self.assertFalse(session.root.exists())

    def test_leaves_nothing_behind(self):
        with VirtualDesktop(compositor=True) as desktop:
            running = list(processes_with_home(desktop.home))
            self.assertEqual(len(running), 4, desktop.logs())
            self.assertTrue(desktop.root.exists())
        self.assert_gone(desktop)

    def test_failed_bring_up_leaves_nothing_behind(self):
        desktop = BrokenDesktop()
        with self.assertRaisesRegex(RuntimeError, "half way"):
            desktop.start()
        self.assert_gone(desktop)

    def test_ends_what_has_daemonised_itself(self):
        with Session() as session:
            session.run(["setsid", "--fork", "sleep", "1000"])
            strays = session.wait_until(
                lambda: list(processes_with_home(session.home)), "the stray process"
            )
            self.assertEqual(len(strays), 1)
        self.assert_gone(session)

    def test_two_at_a_time_do_not_clash(self):
        with VirtualDesktop() as first, VirtualDesktop() as second:
            own = ("DISPLAY", "HOME", "TMPDIR", "XDG_RUNTIME_DIR", "DBUS_SESSION_BUS_ADDRESS")
            for name in own:
                self.assertNotEqual(first.env[name], second.env[name], name)
            first.set_clipboard("one")
            second.set_clipboard("two")
            self.assertEqual((first.clipboard(), second.clipboard()), ("one", "two"))

    def test_nothing_of_the_real_session_leaks_in(self):
        real = {
            "DISPLAY": ":77",
            "WAYLAND_DISPLAY": "wayland-77",
            "XDG_CONFIG_HOME": "/elsewhere",
            "QT_SCALE_FACTOR": "2",
        }
        with mock.patch.dict(os.environ, real), VirtualDesktop() as desktop:
            self.assertNotEqual(desktop.env["DISPLAY"], ":77")
            for name in ("WAYLAND_DISPLAY", "XDG_CONFIG_HOME", "QT_SCALE_FACTOR"):
                self.assertNotIn(name, desktop.env)

    def test_screenshot_is_a_picture(self):
        with VirtualDesktop() as desktop:
            picture = desktop.tmp / "screen.png"
            desktop.screenshot(picture)
            self.assertEqual(picture.read_bytes()[:4], b"\x89PNG")

    def test_bus_is_private_and_answers(self):
        with Session(dbus=True) as session:
            call = ["dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/"]
            names = session.run([*call, "org.freedesktop.DBus.ListNames"]).stdout
            self.assertEqual(names.count("string"), 2, names)


class InterruptedHarnessTest(unittest.TestCase):
    def start(self) -> tuple[Process, Path]:
        show_home = 'echo "home $HOME"; sleep 1000'
        command = [sys.executable, "-m", "harness", "run", "--x11", "--", "sh", "-c", show_home]
        harness = Process(command, env={**os.environ, "PYTHONPATH": str(REPOSITORY)})
        self.addCleanup(harness.kill)
        home = Path(harness.wait_for_line("^home (.*)")[1])
        self.addCleanup(subprocess.run, ["rm", "-rf", home.parent], check=True)
        return harness, home

    def test_terminated_cleans_up(self):
        harness, home = self.start()
        self.assertEqual(harness.stop(), 128 + signal.SIGTERM)
        self.assertFalse(home.exists())
        self.assertEqual(list(processes_with_home(home)), [])

    def test_killed_takes_its_children_along(self):
        harness, home = self.start()
        os.kill(harness.pid, signal.SIGKILL)
        with Session() as watcher:
            # Only the command's own child is out of reach.
            watcher.wait_until(
                lambda: {name_of(pid) for pid in processes_with_home(home)} <= {"sleep", ""},
                "the end of the killed harness's children",
            )


def name_of(pid: int) -> str:
    try:
        return Path(f"/proc/{pid}/comm").read_text().strip()
    except OSError:
        return ""


if __name__ == "__main__":
    unittest.main()

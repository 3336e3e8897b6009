import os
import subprocess
import unittest
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]


def key_binding(desktop: str) -> str:
    """What `./run --key` says on that desktop, started from elsewhere."""
    return subprocess.run(
        [REPOSITORY / "run", "--key"],
        cwd="/",
        env={**os.environ, "XDG_CURRENT_DESKTOP": desktop},
        capture_output=True,
        text=True,
        check=True,
    ).stdout


class KeyBindingTest(unittest.TestCase):
    COMMAND = f"{REPOSITORY}/run --toggle"

    def test_command_is_absolute_and_on_a_line_of_its_own(self):
        for desktop in ("GNOME", "ubuntu:GNOME", "KDE", "XFCE", ""):
            with self.subTest(desktop):
                self.assertEqual(key_binding(desktop).splitlines()[-1], self.COMMAND)

    def test_compositors_get_a_line_of_their_configuration(self):
        lines = {
            "sway": f"bindsym Mod4+space exec {self.COMMAND}",
            "Hyprland": f"bind = SUPER, space, exec, {self.COMMAND}",
            "labwc:wlroots": f'command="{self.COMMAND}"',
        }
        for desktop, line in lines.items():
            with self.subTest(desktop):
                self.assertIn(line, key_binding(desktop))


if __name__ == "__main__":
    unittest.main()

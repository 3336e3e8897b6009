"""What another user of the machine can open of what the program keeps."""

import os
import unittest
from pathlib import Path

from tests.system.support import CommandLineTestCase

NOBODY = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]


class SecondUserTest(CommandLineTestCase):
    def setUp(self) -> None:
        super().setUp()
        # Nothing on the way to the program's own directory keeps anybody out.
        for directory in (self.session.root, self.session.home):
            directory.chmod(0o755)
        real, self.program = self.program, self.session.root / "open-umask"
        self.program.write_text(f'#!/bin/sh\numask 000\nexec "{real}" "$@"\n')
        self.program.chmod(0o700)

    def opened(self) -> list[str]:
        """The names in the directory that the second user can read or write."""
        names = sorted(path.name for path in self.config.iterdir())
        return [name for name in names if self.can_open(self.config / name)]

    def can_open(self, path: Path) -> bool:
        if os.geteuid() != 0:  # only root can become somebody else: the modes tell
            return bool(path.parent.stat().st_mode & 0o001 and path.stat().st_mode & 0o007)
        tests = " || ".join(f'test -{access} "$1"' for access in "rwx")
        command = [*NOBODY, "sh", "-c", tests, "sh", path]
        return self.session.run(command, check=False).returncode == 0

    def check_nothing_opens(self) -> None:
        running = self.start_tarq()
        self.assertIn("ipc-token", os.listdir(self.config))
        (self.config / "public").touch(0o644)
        self.assertFalse(self.can_open(self.config))
        self.assertEqual(self.opened(), [])
        # The files' own modes keep them too.
        self.config.chmod(0o755)
        self.assertEqual(self.opened(), ["public"])
        self.end_tarq(running)

    def test_new_account_is_private_whatever_the_umask(self):
        self.check_nothing_opens()

    def test_start_closes_what_was_left_open(self):
        self.write(self.config / "keys.json", '{"accessToken": "a", "refreshToken": "r"}')
        for name in ("settings.json", "history.json", "ipc-token"):
            self.write(self.config / name, "{}")
        (self.config / "spool").mkdir()
        for path in self.config.iterdir():
            path.chmod(0o777)
        self.config.chmod(0o777)
        self.assertIn("keys.json", self.opened())
        self.check_nothing_opens()


if __name__ == "__main__":
    unittest.main()

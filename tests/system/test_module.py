"""How the program finds the module that holds the running instance, and which one it takes."""

import os
import shutil
import signal
import unittest
from pathlib import Path

from harness.testcase import build_tree
from tests.system.support import CommandLineTestCase

MODULE = "tarq-instance.so"
# The status of the module that stands in for it.
STAND_IN = 42

NO_PROC = 'mount -t tmpfs none /proc && exec "$0"'


class ModuleTest(CommandLineTestCase):
    def setUp(self) -> None:
        super().setUp()
        self.bin = self.session.root / "bin"
        self.bin.mkdir()
        self.program = Path(shutil.copy(self.program, self.bin))

    def put(self, directory: Path, stand_in: str = "stand-in") -> None:
        directory.mkdir(exist_ok=True)
        shutil.copy(build_tree() / "test-modules" / f"{stand_in}.so", directory / MODULE)

    def check_runs(self, *command: object, env: dict[str, str] | None = None) -> None:
        done = self.session.run(command or [self.program], env=env, check=False)
        self.check(done, status=STAND_IN)

    def check_refused(self, done, reason: str) -> None:
        self.assertEqual((done.returncode, done.stdout), (1, ""), done.stderr)
        self.assertRegex(
            done.stderr, rf"^\[1\] Tarq is not installed completely: {reason} \(\?:0\)\n$"
        )

    def test_module_beside_the_program_is_run(self):
        self.put(self.bin)
        self.check_runs()

    def test_module_of_another_build_is_refused(self):
        self.put(self.bin, "stand-in-of-another-build")
        self.check_refused(self.run_tarq(), rf"{self.bin}/{MODULE} is of another build .*\?")

    def test_signal_while_the_module_is_loaded_ends_nothing(self):
        self.put(self.bin)
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(number.name):
                self.check_runs(env={"TARQ_SIGNAL_WHILE_LOADING": str(int(number))})

    def test_path_may_hold_any_bytes(self):
        for name in (b"caf\xe9", b"\xff\xfe", b"two\nlines", "Müller ℵ".encode(), b"$HOME:%s"):
            with self.subTest(name):
                directory = self.session.root / os.fsdecode(name)
                self.put(directory)
                self.check_runs(shutil.copy(self.program, directory))

    def test_program_may_be_a_link(self):
        self.put(self.bin)
        link = self.session.root / "link"
        link.symlink_to(self.program)
        self.check_runs(link)

    def test_program_may_be_called_anything_and_from_anywhere(self):
        self.put(self.bin)
        for name in ("tarq-linux", "./tarq-linux", "/nowhere/tarq-linux", ""):
            with self.subTest(name):
                self.check_runs("bash", "-c", 'exec -a "$1" "$0"', self.program, name)
        self.check_runs("sh", "-c", 'cd "$0" && exec ./tarq-linux', self.bin)
        self.check_runs("sh", "-c", 'cd "$0" && exec ../bin/tarq-linux', self.bin)

    def test_module_of_the_current_directory_is_never_taken(self):
        elsewhere = self.session.root / "elsewhere"
        self.put(elsewhere)
        for name in ("tarq-linux", "./tarq-linux", ""):
            with self.subTest(name):
                words = ["bash", "-c", 'cd "$2" && exec -a "$1" "$0"', self.program, name, elsewhere]
                done = self.session.run(words, check=False)
                self.check_refused(done, f".*{MODULE}.*")

    def test_program_that_is_gone_finds_nothing(self):
        self.put(elsewhere := self.session.root / "elsewhere")
        gone = 'cd "$1" && exec 3< "$0" && rm "$0" && exec /proc/self/fd/3'
        done = self.session.run(["sh", "-c", gone, self.program, elsewhere], check=False)
        self.check_refused(done, "No such file or directory")

    def test_module_is_found_without_proc(self):
        self.put(self.bin)
        # Whoever isn't root becomes it in a namespace of his own.
        user = [] if os.geteuid() == 0 else ["--map-root-user"]
        hidden = ["unshare", *user, "--mount", "sh", "-c", NO_PROC, self.program]
        # A sanitizer complains of the same.
        self.assertEqual(self.session.run(hidden, check=False).returncode, STAND_IN)


if __name__ == "__main__":
    unittest.main()

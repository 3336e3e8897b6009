"""The shells complete the options that the programs have."""

import re
import shutil
import tempfile
import unittest

from harness.process import DEADLINE_S
from tests.packaging.support import OPTION, PACKAGING, options_of, output

COMPLETIONS = PACKAGING / "completions"

BASH = """\
source "$1"; shift
COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
"_${1/-/_}" && printf '%s\\n' "${COMPREPLY[@]}"
"""

# zsh completes only in a terminal, so it gets one. When the line editor has begun it is told to list
# what is possible (ctrl+d), and the output of a command that follows tells that it has. Their words
# are written in two pieces, which the echo isn't mistaken for.
ZSH = """\
zmodload zsh/zpty
zpty shell zsh -f -i
zpty -w shell "fpath=($1 \\$fpath); autoload -U compinit && compinit -u -D"
zpty -w shell "zle-line-init() { print -n READ''Y }; zle -N zle-line-init"
zpty -r shell output '*READY*'
zpty -w -n shell "$2"$'\\C-d'
zpty -w -n shell $'\\C-e\\C-u'"print DON''E"$'\\n'
zpty -r shell output '*DONE*'
print -r -- "$output"
"""
TERMINAL_CODE = re.compile(r"\x1b\[[0-9;?]*[A-Za-z]")


class Completions:
    program: str

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.options = options_of(cls.program)

    def bash(self, *words: str) -> set[str]:
        script = COMPLETIONS / f"{self.program}.bash"
        return set(output("bash", "-c", BASH, "bash", script, self.program, *words).split())

    def fish(self, line: str) -> set[str]:
        with tempfile.TemporaryDirectory() as home:
            line = f"{self.program} {line}"
            script = f"source {COMPLETIONS}/{self.program}.fish; complete -C '{line}'"
            answer = output("env", f"HOME={home}", "fish", "--no-config", "-c", script)
        return {line.split("\t")[0] for line in answer.splitlines()}

    def zsh(self, line: str) -> set[str]:
        with tempfile.TemporaryDirectory() as functions:
            line = f"{self.program} {line}"
            shutil.copy(COMPLETIONS / f"{self.program}.zsh", f"{functions}/_{self.program}")
            answer = output("zsh", "-f", "-c", ZSH, "zsh", functions, line, timeout=DEADLINE_S)
        # The line itself is in the answer too.
        shown = TERMINAL_CODE.sub("", answer).replace(line, "")
        return set(OPTION.findall(shown))

    def test_bash_offers_every_option(self):
        self.assertEqual(self.bash(""), self.options)

    def test_fish_offers_every_option(self):
        # It names the long form of what has two.
        self.assertEqual(self.fish("--"), self.options - {"-h"})
        self.assertIn("-h", self.fish("-"))

    def test_zsh_offers_every_option(self):
        self.assertEqual(self.zsh("-"), self.options)


class TarqCompletionsTest(Completions, unittest.TestCase):
    program = "tarq-linux"

    def test_bash_offers_what_begins_alike(self):
        self.assertEqual(self.bash("--to"), {"--toggle"})

    def test_bash_offers_nothing_for_a_number(self):
        self.assertEqual(self.bash("--audio-smoke", ""), set())

    def test_zsh_offers_what_begins_alike(self):
        self.assertEqual(self.zsh("--amp"), {"--amplitude-smoke"})

    def test_fish_offers_nothing_for_a_number(self):
        self.assertEqual(self.fish("--audio-smoke "), set())


class DoctorCompletionsTest(Completions, unittest.TestCase):
    program = "tarq-doctor"


if __name__ == "__main__":
    unittest.main()

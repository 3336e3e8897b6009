"""The manual pages are well-formed, and tell of every option and variable."""

import re
import unittest

from tests.packaging.support import OPTION, PACKAGING, PROGRAMS, PROJECT, options_of, output

PAGE = PACKAGING / "tarq-linux.1"


class ManualTest(unittest.TestCase):
    def test_mandoc_finds_no_fault(self):
        # Whether the pages that it refers to are installed is no matter of the page's.
        for name in PROGRAMS:
            faults = output("mandoc", "-T", "lint", "-W", "warning", PACKAGING / f"{name}.1")
            self.assertEqual(faults, "")

    def test_groff_finds_no_fault(self):
        for name in PROGRAMS:
            page = PACKAGING / f"{name}.1"
            self.assertEqual(output("sh", "-c", f"man --warnings -l {page} 2>&1 > /dev/null"), "")

    def test_names_the_options_of_the_program(self):
        for name in PROGRAMS:
            page = output("mandoc", "-T", "ascii", PACKAGING / f"{name}.1")
            text = " ".join(re.sub(r".\x08", "", page).split())
            if name == "tarq-doctor":  # it tells of an option of the other program
                text = text.replace("tarq-linux --toggle", "")
            with self.subTest(name):
                self.assertEqual(set(OPTION.findall(text)), options_of(name))

    def test_names_the_variables_of_the_readme(self):
        readme = (PROJECT / "README.md").read_text()
        section = readme.partition("## Using a real deployment")[2].partition("```")[0]
        variables = set(re.findall(r"`([A-Z][A-Z0-9_]+)(?:=1)?`", section)) - self.build_variables()
        self.assertTrue(variables)
        page = PAGE.read_text()
        for variable in variables:
            self.assertRegex(page, rf"\.(It )?Ev .*\b{variable}\b")

    @staticmethod
    def build_variables() -> set[str]:
        return set(re.findall(r"set\((\w+)", (PROJECT / "cmake" / "Deployment.cmake").read_text()))


if __name__ == "__main__":
    unittest.main()

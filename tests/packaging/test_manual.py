"""The manual page is well-formed, and tells of every option and variable."""

import re
import unittest

from tests.packaging.support import OPTION, PACKAGING, PROJECT, options_of_the_program, output

PAGE = PACKAGING / "tarq-linux.1"


class ManualTest(unittest.TestCase):
    def test_mandoc_finds_no_fault(self):
        # Whether the pages that it refers to are installed is no matter of the page's.
        faults = output("mandoc", "-T", "lint", "-W", "warning", PAGE)
        self.assertEqual(faults, "")

    def test_groff_finds_no_fault(self):
        faults = output("sh", "-c", f"man --warnings -l {PAGE} 2>&1 > /dev/null")
        self.assertEqual(faults, "")

    def test_names_the_options_of_the_program(self):
        text = re.sub(r".\x08", "", output("mandoc", "-T", "ascii", PAGE))
        self.assertEqual(set(OPTION.findall(text)), options_of_the_program())

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

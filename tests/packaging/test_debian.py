"""The Debian package agrees with the sources."""

import json
import re
import unittest

from tests.packaging.support import PROJECT, output

SCANNER = "/usr/lib/qt6/libexec/qmlimportscanner"


def qml_modules(depends: str) -> set[str]:
    return {name for name in re.findall(r"[a-z0-9-]+", depends) if name.startswith("qml6-")}


def with_dependencies(packages: set[str]) -> set[str]:
    found: set[str] = set()
    while packages - found:
        found |= packages
        packages = qml_modules(output("dpkg-query", "-W", "-f", "${Depends} ", *found))
    return found


class DebianPackageTest(unittest.TestCase):
    def test_has_the_version_of_the_program(self):
        program = re.search(r"VERSION ([\d.]+)\n", (PROJECT / "CMakeLists.txt").read_text())
        package = re.match(r"tarq-linux \((.+)\)", (PROJECT / "debian/changelog").read_text())
        self.assertEqual(package[1], program[1])

    def test_depends_on_the_modules_that_the_documents_import(self):
        imports = output("qmake6", "-query", "QT_INSTALL_QML").strip()
        scanned = output(SCANNER, "-rootPath", PROJECT / "qml", "-importPath", imports)
        # A module without a path is ours, or one that is imported only by what we don't use.
        paths = [module["path"] for module in json.loads(scanned) if "path" in module]
        self.assertTrue(paths)
        needed = {output("dpkg", "-S", f"{path}/qmldir").partition(":")[0] for path in paths}
        needed.discard("qml6-module-qml")  # the language's own, for tools: the engine has it built in
        control = (PROJECT / "debian" / "control").read_text()
        depends = re.search(r"^Depends:((?:\n .*)+)", control, re.MULTILINE)[1]
        named = qml_modules(depends)
        self.assertEqual(named - needed, set())
        # From release to release, one module comes to need another.
        self.assertEqual(needed - with_dependencies(named), set())


if __name__ == "__main__":
    unittest.main()

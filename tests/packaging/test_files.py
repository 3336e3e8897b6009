"""What `cmake --install` puts beside the program is valid and complete."""

import os
import re
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

from tests.packaging.support import PROJECT, output

SIZES = 16, 22, 24, 32, 48, 64, 128, 256, 512


def plain_library_path(path: str) -> str:
    """Where libraries lie differs between distributions and architectures."""
    return re.sub(r"^/usr/lib(64)?/([^/]+-linux-gnu[^/]*/)?", "/usr/lib/", path)


class InstalledFilesTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        prefix = cls.enterClassContext(tempfile.TemporaryDirectory())
        output("cmake", "--install", os.environ["TARQ_BUILD_DIR"], "--prefix", f"{prefix}/usr")
        cls.prefix = Path(prefix)
        cls.share = cls.prefix / "usr" / "share"
        (cls.metainfo,) = cls.share.glob("metainfo/*.metainfo.xml")

    def test_every_file_is_listed(self):
        files = [path for path in self.prefix.rglob("*") if path.is_file()]
        found = {plain_library_path(f"/{path.relative_to(self.prefix)}") for path in files}
        listed = (PROJECT / "packaging" / "installed-files.txt").read_text().split()
        self.assertEqual(found, set(listed))

    def test_desktop_entry(self):
        entry = self.share / "applications" / "tarq-linux.desktop"
        self.assertEqual(output("desktop-file-validate", entry), "")
        self.assertIn("\nExec=env TARQ_ASSIST=all tarq-linux\n", entry.read_text())
        self.assertIn("\nExec=tarq-linux\n", entry.read_text())
        self.assertIn("\nExec=tarq-linux --toggle\n", entry.read_text())

    def test_metainfo(self):
        output("appstreamcli", "validate", "--no-net", "--explain", self.metainfo)

    def test_metainfo_is_named_after_its_id(self):
        component = ElementTree.parse(self.metainfo).getroot()
        self.assertEqual(self.metainfo.name, f"{component.findtext('id')}.metainfo.xml")

    def test_metainfo_shows_the_pictures_of_the_documents(self):
        images = ElementTree.parse(self.metainfo).getroot().iterfind("screenshots/screenshot/image")
        shown = {image.text.rpartition("/")[2] for image in images}
        self.assertEqual(shown, {path.name for path in (PROJECT / "docs" / "pictures").glob("*.png")})

    def test_icons_have_the_size_of_their_folder(self):
        for size in SIZES:
            icon = self.share / f"icons/hicolor/{size}x{size}/apps/tarq-linux.png"
            head = icon.read_bytes()[:24]
            self.assertEqual(head[:8], b"\x89PNG\r\n\x1a\n")
            shape = int.from_bytes(head[16:20], "big"), int.from_bytes(head[20:24], "big")
            self.assertEqual(shape, (size, size))


if __name__ == "__main__":
    unittest.main()

"""Dictations into the windows of KDE's compositor, with TARQ_ASSIST=wayland."""

import unittest

from assisted import AssistedDictations, AssistedTestCase
from harness.kwin import KwinSession


class AssistedKwinTest(AssistedDictations, AssistedTestCase):
    way = "clipboard by wl-copy, keys by the desktop portal"

    def make_session(self) -> KwinSession:
        return KwinSession()


if __name__ == "__main__":
    unittest.main()

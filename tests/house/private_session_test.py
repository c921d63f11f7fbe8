#!/usr/bin/env python3
"""In a private session no monitor of hardware runs, whatever the version of WirePlumber.

Usage: private_session_test.py PRIVATE_SESSION

A monitor is a plugin in WirePlumber's process, so what WirePlumber has mapped tells whether one runs, also on a machine that
has no hardware to be found.
"""
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

PRIVATE_SESSION = pathlib.Path(sys.argv[1]).resolve()


class PrivateSession(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name) / "s"
        self.addCleanup(subprocess.run, [PRIVATE_SESSION, "stop", self.folder], check=True)
        subprocess.run([PRIVATE_SESSION, "start", self.folder], check=True)

    def plugins_of(self, name):
        process = re.search(rf"^(\d+) \d+ {name}$", (self.folder / "pids").read_text(), re.MULTILINE).group(1)
        return set(re.findall(r"/spa-0\.2/(\w+)/", pathlib.Path(f"/proc/{process}/maps").read_text()))

    def test_wireplumber_has_no_plugin_for_hardware(self):
        self.assertEqual(self.plugins_of("wireplumber"), {"support"})
        self.assertLess({"support"}, self.plugins_of("pipewire"), "plugins can be seen")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])

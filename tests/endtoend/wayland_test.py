#!/usr/bin/python3
"""The whole program under a Wayland compositor that has no tray. Inside a private session with bus."""

import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import time

from desktop_case import PANEL, DesktopTest
from program import LIMIT, main, wait_for

NOBODY = 65534  # sway refuses to be run by root


class Compositor:
    """A sway without hardware, with a folder of its own for its sockets."""

    def __init__(self, folder, log):
        self.folder = folder
        configuration = folder / "config"
        configuration.write_text("xwayland disable\noutput HEADLESS-1 resolution 1280x800\n")
        environment = {"PATH": os.environ["PATH"], "HOME": str(folder), "XDG_RUNTIME_DIR": str(folder),
                       "WLR_BACKENDS": "headless", "WLR_LIBINPUT_NO_DEVICES": "1", "WLR_RENDERER": "pixman"}
        other_user = {}
        if os.geteuid() == 0:
            shutil.chown(folder, NOBODY, NOBODY)
            other_user = {"user": NOBODY, "group": NOBODY, "extra_groups": []}
        with log.open("w") as file:
            self.process = subprocess.Popen(["sway", "-c", configuration], env=environment, stdin=subprocess.DEVNULL,
                                            stdout=file, stderr=file, **other_user)

    def socket(self, pattern):
        return next((str(file) for file in self.folder.glob(pattern) if file.is_socket()), None)

    def is_ready(self):
        return self.socket("sway-ipc.*") and self.socket("wayland-*")

    def titles(self):
        """Of the windows that it shows."""
        tree = subprocess.run(["swaymsg", "-s", self.socket("sway-ipc.*"), "-r", "-t", "get_tree"], check=True,
                              capture_output=True, text=True).stdout
        return list(self.titles_below(json.loads(tree)))

    def titles_below(self, node):
        if node.get("app_id"):
            yield node["name"]
        for child in node["nodes"] + node["floating_nodes"]:
            yield from self.titles_below(child)

    def kill(self):
        self.process.kill()
        self.process.wait()


class Wayland(DesktopTest):
    def setUp(self):
        super().setUp()
        self.settings("onboarded=true")
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        log = self.work / "sway.log"
        self.compositor = Compositor(pathlib.Path(folder.name), log)
        self.addCleanup(self.compositor.kill)
        wait_for(lambda: self.compositor.is_ready() or self.compositor.process.poll() is not None, "the start of sway")
        if self.compositor.process.poll() is not None:
            self.skipTest(f"sway cannot run here: {log.read_text()[-300:]}")
        del self.env["DISPLAY"]
        self.env["WAYLAND_DISPLAY"] = self.compositor.socket("wayland-*")
        self.program = self.launch()
        self.desktop.find("push button", "Start Recording", PANEL)

    def test_the_panel_is_a_window_and_a_key_records(self):
        wait_for(lambda: self.compositor.titles() == [PANEL], "the panel's window")
        self.toggle()
        self.wait_for_status("Recording: 00:0")
        self.desktop.find("push button", "Stop", PANEL)
        time.sleep(1)  # of sound
        self.toggle()
        self.wait_for_status("Not recording")
        self.assert_whole(self.recordings()[0])
        self.desktop.press("push button", "Quit", PANEL)
        self.assertEqual(self.program.wait(timeout=LIMIT), 0)

    def test_a_lost_compositor_closes_the_files(self):
        self.toggle()
        self.wait_for_status("Recording: 00:0")
        time.sleep(2)  # of sound
        self.compositor.kill()
        self.assertEqual(self.program.wait(timeout=LIMIT), 1, "it exits, and does not crash")
        self.assert_whole(self.recordings()[0])
        self.assert_nothing_left()


if __name__ == "__main__":
    main()

"""What tests of the whole program on a desktop have in common: a home of its own, and a desktop to look at."""

import os
import pathlib
import shutil
import signal
import subprocess
import tempfile

from accessible import Desktop
from program import PROGRAM, TestCase, run, wait_for
from screen import Screen

PANEL = "Murmelo"
FIRST_RUN = "Set up Murmelo"


class DesktopTest(TestCase):
    def setUp(self):
        super().setUp()
        self.home, self.config, self.opened = self.work / "home", self.work / "config", self.work / "opened"
        for folder in (self.home, self.config / "murmelo"):
            folder.mkdir(parents=True)
        # What opens files on this desktop only notes them. Qt knows no openers in folders with a space.
        programs = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, programs)
        (programs / "xdg-open").write_text(f'#!/bin/sh\nprintf "%s\\n" "$1" >> "{self.opened}"\n')
        (programs / "xdg-open").chmod(0o755)
        self.env = {**os.environ, "HOME": str(self.home), "XDG_CONFIG_HOME": str(self.config),
                    "PATH": f"{programs}:{os.environ['PATH']}", "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}
        self.desktop = Desktop()

    def settings(self, *lines):
        (self.config / "murmelo" / "murmelo.conf").write_text("\n".join(["[General]", *lines]) + "\n")

    def stored(self):
        return (self.config / "murmelo" / "murmelo.conf").read_text()

    def launch(self):
        self.log = self.work / "log"
        with self.log.open("w") as log:
            program = subprocess.Popen([PROGRAM], env=self.env, stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        self.addCleanup(self.end, program)
        return program

    def launch_and_end_slowly(self):
        """A program that has left its event loop, but waits for a check of some seconds before it ends."""
        self.settings()
        screen = Screen()
        self.addCleanup(screen.close)
        program = self.launch()
        self.desktop.press("push button", "Grant", FIRST_RUN)
        program.send_signal(signal.SIGTERM)
        wait_for(lambda: not screen.windows(FIRST_RUN), "the end of the first-run window")
        self.assertIsNone(program.poll(), "the process does not end with its windows")
        self.settings("onboarded=true")
        return program

    def end(self, program):
        if program.poll() is None:
            program.kill()
        program.wait()

    def recordings(self):
        return sorted(self.home.glob("Murmelo/recording-*"))

    def status(self):
        return run("status", env=self.env).stdout.splitlines()

    def toggle(self):
        self.assertEqual(run("toggle", env=self.env).returncode, 0)

    def start_recording(self):
        """Without the panel."""
        self.wait_for_status("Not recording")
        self.toggle()
        wait_for(self.recordings, "the recording")

    def wait_for_status(self, start):
        wait_for(lambda: self.status()[:1] and self.status()[0].startswith(start), f"the status “{start}”")

    def active_window(self):
        """The title of the one that has the keyboard."""
        return subprocess.run(["xdotool", "getactivewindow", "getwindowname"], capture_output=True, text=True,
                              check=False).stdout.strip()

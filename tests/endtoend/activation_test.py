#!/usr/bin/python3
"""What starts the program on a user's behalf: the session bus, and the desktop at login. Inside a private session with
bus and desktop; MURMELO_BUILD is the build that gets installed."""

import configparser
import os
import pathlib
import random
import shlex
import subprocess
import tempfile
import time

import session_bus
from desktop_case import PANEL, DesktopTest
from program import LIMIT, main, wait_for

NAME = "org.murmelo.Murmelo"
PATH = "/org/murmelo/Murmelo"
APPLICATION = "org.freedesktop.Application"


class InstalledProgram(DesktopTest):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.root = pathlib.Path(folder.name)
        subprocess.run(["cmake", "--install", os.environ["MURMELO_BUILD"], "--prefix", cls.root], check=True,
                       stdout=subprocess.DEVNULL)

    def setUp(self):
        super().setUp()
        self.settings("onboarded=true")

    def quit(self):
        session_bus.call(NAME, PATH, f"{APPLICATION}.ActivateAction", "(sava{sv})", "quit", [], {})
        wait_for(lambda: not session_bus.has_owner(NAME), "the end of the program")

    def tell_bus_of_services(self):
        """The session's own bus has long been started: it looks where its user's programs are."""
        services = pathlib.Path(os.environ["XDG_DATA_HOME"]) / "dbus-1/services"
        services.mkdir(parents=True, exist_ok=True)
        service = services / f"{NAME}.service"
        service.symlink_to(self.root / f"share/dbus-1/services/{NAME}.service")
        self.addCleanup(service.unlink)
        environment = {name: self.env[name] for name in ("HOME", "XDG_CONFIG_HOME", "DISPLAY",
                                                         "QT_LINUX_ACCESSIBILITY_ALWAYS_ON")}
        bus = ("org.freedesktop.DBus", "/org/freedesktop/DBus")
        session_bus.call(*bus, "org.freedesktop.DBus.UpdateActivationEnvironment", "(a{ss})", environment)
        session_bus.call(*bus, "org.freedesktop.DBus.ReloadConfig")

    def test_the_bus_starts_it_and_it_shows_its_panel(self):
        self.tell_bus_of_services()
        self.assertFalse(session_bus.has_owner(NAME))
        session_bus.call(NAME, PATH, f"{APPLICATION}.Activate", "(a{sv})", {})
        self.desktop.find("push button", "Start Recording")
        self.quit()

    def test_a_key_on_the_desktop_starts_it_by_the_bus_and_records(self):
        self.tell_bus_of_services()
        session_bus.call(NAME, PATH, f"{APPLICATION}.ActivateAction", "(sava{sv})", "toggle-recording", [], {})
        self.wait_for_status("Recording")
        self.quit()
        self.assert_whole(self.recordings()[0])

    def test_the_bus_starts_it_again_while_it_is_still_ending(self):
        self.tell_bus_of_services()
        first = self.launch_and_end_slowly()
        session_bus.call(NAME, PATH, f"{APPLICATION}.Activate", "(a{sv})", {})
        self.assertEqual(first.wait(timeout=LIMIT), 0)
        self.desktop.find("push button", "Start Recording", PANEL)
        self.quit()

    def test_the_example_for_autostart_starts_it(self):
        entry = configparser.ConfigParser(interpolation=None)
        entry.optionxform = str
        entry.read(self.root / f"share/doc/murmelo/examples/{NAME}.desktop")
        program = subprocess.Popen(shlex.split(entry["Desktop Entry"]["Exec"]), env=self.env, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(self.end, program)
        self.desktop.find("push button", "Start Recording")
        self.quit()
        self.assertEqual(program.wait(timeout=LIMIT), 0)

    def test_may_be_told_to_quit_while_it_still_starts(self):
        for _ in range(6):
            program = self.launch()
            wait_for(lambda: session_bus.has_owner(NAME), "the start of the program")
            time.sleep(random.uniform(0, 0.3))  # when the meters start is not to be seen
            self.quit()
            self.assertEqual(program.wait(timeout=LIMIT), 0)


if __name__ == "__main__":
    main()

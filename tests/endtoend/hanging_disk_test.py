#!/usr/bin/python3
"""A recording whose disk hangs when it is stopped, or when the program is told to quit. Inside a private session with
bus and desktop, as root: a frozen file system takes nothing in until it is thawed."""

import json
import os
import re
import subprocess
import threading
import time
import unittest

from gi.repository import Gio, GLib

import session_bus
from desktop_case import DesktopTest
from program import LIMIT, decoded_frames, main, run, wait_for

NAME = "org.murmelo.Murmelo"
NOTIFICATIONS = """<node><interface name='org.freedesktop.Notifications'>
  <method name='GetCapabilities'><arg type='as' direction='out'/></method>
  <method name='Notify'>
    <arg type='s' direction='in'/><arg type='u' direction='in'/><arg type='s' direction='in'/>
    <arg type='s' direction='in'/><arg type='s' direction='in'/><arg type='as' direction='in'/>
    <arg type='a{sv}' direction='in'/><arg type='i' direction='in'/><arg type='u' direction='out'/>
  </method>
  <method name='CloseNotification'><arg type='u' direction='in'/></method>
</interface></node>"""


class Bubbles:
    """The desktop's notifications."""

    def __init__(self):
        self.texts = []
        ready = threading.Event()
        threading.Thread(target=self.serve, args=(ready,), daemon=True).start()
        ready.wait(LIMIT)

    def serve(self, ready):
        context = GLib.MainContext.new()
        context.push_thread_default()
        bus = Gio.DBusConnection.new_for_address_sync(
            os.environ["DBUS_SESSION_BUS_ADDRESS"], Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        interface = Gio.DBusNodeInfo.new_for_xml(NOTIFICATIONS).interfaces[0]
        bus.register_object("/org/freedesktop/Notifications", interface, self.answer, None, None)
        bus.call_sync("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "RequestName",
                      GLib.Variant("(su)", ("org.freedesktop.Notifications", 0)), None, Gio.DBusCallFlags.NONE, -1, None)
        ready.set()
        GLib.MainLoop.new(context, False).run()

    def answer(self, _bus, _sender, _path, _interface, method, arguments, invocation):
        if method == "Notify":
            self.texts.append(arguments.unpack()[4])
            invocation.return_value(GLib.Variant("(u)", (len(self.texts),)))
        elif method == "GetCapabilities":
            invocation.return_value(GLib.Variant("(as)", (["body", "actions"],)))
        else:
            invocation.return_value(None)


@unittest.skipIf(os.geteuid() != 0, "no file system can be mounted here: that takes root")
class HangingDisk(DesktopTest):
    @classmethod
    def setUpClass(cls):
        cls.bubbles = Bubbles()

    def setUp(self):
        super().setUp()
        self.settings("onboarded=true")
        self.disk = self.home / "Murmelo"
        self.disk.mkdir()
        image = self.work / "disk.image"
        with image.open("w") as file:
            file.truncate(64 << 20)
        subprocess.run(["mkfs.ext4", "-q", "-F", image], check=True)
        mounted = subprocess.run(["mount", "-o", "loop", image, self.disk], capture_output=True, text=True, check=False)
        if mounted.returncode:
            self.skipTest(f"no image can be mounted here: {mounted.stderr.strip()}")
        self.addCleanup(subprocess.run, ["umount", self.disk], check=True)
        self.program = self.launch()
        self.addCleanup(self.end, self.program)
        self.addCleanup(self.thaw)
        self.start_recording()
        self.wait_for_status("Recording")
        wait_for(lambda: self.elapsed() > 2, "two seconds of sound")

    def freeze(self):
        subprocess.run(["fsfreeze", "--freeze", self.disk], check=True)

    def thaw(self):
        subprocess.run(["fsfreeze", "--unfreeze", self.disk], check=False, capture_output=True)

    def elapsed(self):
        return json.loads(run("status", "--json", env=self.env).stdout)["seconds"]

    def quit(self):
        session_bus.call(NAME, "/org/murmelo/Murmelo", "org.freedesktop.Application.ActivateAction", "(sava{sv})", "quit",
                         [], {})

    def record_into_the_hang(self):
        """Returns how many seconds have been recorded in the end."""
        self.freeze()
        begin = self.elapsed()
        wait_for(lambda: self.elapsed() > begin + 2, "two seconds that the disk does not take")
        return self.elapsed()

    def assert_everything_is_there(self, seconds):
        recording = self.recordings()[0]
        self.assert_whole(recording)
        self.assertGreaterEqual(decoded_frames(recording / "voice.m4a") / 48000, seconds)

    def test_a_stop_returns_and_everything_is_saved_when_the_disk_goes_on(self):
        seconds = self.record_into_the_hang()
        self.toggle()
        wait_for(lambda: "Saving…" in "\n".join(self.status()), "the status “Saving…”")
        again = run("toggle", env=self.env)
        self.assertEqual((again.returncode, again.stderr), (1, "Murmelo is still saving the recording.\n"))
        time.sleep(4)
        self.assertTrue(self.status()[0].startswith("Recording"))
        self.thaw()
        self.wait_for_status("Not recording")
        self.assert_everything_is_there(seconds)
        self.quit()
        self.assertEqual(self.program.wait(LIMIT), 0)

    def test_quitting_waits_for_a_disk_that_hangs_for_four_seconds(self):
        seconds = self.record_into_the_hang()
        self.quit()
        time.sleep(4)
        self.assertIn("Saving…", "\n".join(self.status()))
        self.thaw()
        self.assertEqual(self.program.wait(LIMIT), 0)
        self.assert_everything_is_there(seconds)

    def test_quitting_names_what_a_disk_that_hangs_for_longer_loses(self):
        seconds = self.record_into_the_hang()
        recording = self.recordings()[0]
        self.quit()
        told = re.compile(r"Murmelo has ended because the disk did not answer\. The last (\d+) seconds of “(.+)” are lost; "
                          r"what came before is repaired at the next start\.")
        wait_for(lambda: self.bubbles.texts and told.search(self.bubbles.texts[-1]), "the notice")
        lost, name = told.search(self.bubbles.texts[-1]).groups()
        self.assertEqual(name, recording.name)
        self.assertGreaterEqual(int(lost), 2)
        time.sleep(1)  # what a disk that answers at last gets then is more than was promised
        self.thaw()
        self.assertEqual(self.program.wait(LIMIT), 1)
        mended = json.loads(run("recover", "--json", recording).stdout)
        self.assertEqual([file["state"] for file in mended], ["mended"] * 3)
        for file in mended:
            self.assertGreaterEqual(file["seconds"] + int(lost), seconds)


if __name__ == "__main__":
    main()

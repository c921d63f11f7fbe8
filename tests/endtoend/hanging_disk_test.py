#!/usr/bin/python3
"""A recording whose disk hangs when it is stopped, or when its program is told to end. Inside a private session with
bus and desktop, as root: a frozen file system takes nothing in until it is thawed."""

import json
import os
import re
import signal
import subprocess
import time
import unittest

import session_bus
from bubbles import Bubbles
from desktop_case import DesktopTest
from program import LIMIT, Recording, decoded_frames, main, run, wait_for

NAME = "org.murmelo.Murmelo"


@unittest.skipIf(os.geteuid() != 0, "no file system can be mounted here: that takes root")
class DiskTest(DesktopTest):
    def setUp(self):
        super().setUp()
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

    def freeze(self):
        subprocess.run(["fsfreeze", "--freeze", self.disk], check=True)

    def thaw(self):
        subprocess.run(["fsfreeze", "--unfreeze", self.disk], check=False, capture_output=True)

    def assert_recovery_finds_all_but(self, lost, seconds, recording):
        mended = json.loads(run("recover", "--json", recording).stdout)
        self.assertEqual([file["state"] for file in mended], ["mended"] * 3)
        for file in mended:
            self.assertGreaterEqual(file["seconds"] + lost, seconds)


class HangingDisk(DiskTest):
    @classmethod
    def setUpClass(cls):
        cls.bubbles = Bubbles()

    def setUp(self):
        super().setUp()
        self.settings("onboarded=true")
        self.program = self.launch()
        self.addCleanup(self.end, self.program)
        self.addCleanup(self.thaw)
        self.start_recording()
        self.wait_for_status("Recording")
        wait_for(lambda: self.elapsed() > 2, "two seconds of sound")

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
        self.assert_recovery_finds_all_but(int(lost), seconds, recording)


class HangingDiskOfASubcommand(DiskTest):
    def test_ctrl_c_names_what_a_disk_that_hangs_for_longer_loses(self):
        folder = self.disk / "one"
        recording = Recording("--folder", folder, log=self.work / "log", env=self.env,
                              stdout=subprocess.DEVNULL)
        self.addCleanup(self.end, recording.process)
        self.addCleanup(self.thaw)
        recording.until_said("first MIC callback")
        begin = time.monotonic()
        time.sleep(2)
        self.freeze()
        time.sleep(2)
        seconds = time.monotonic() - begin
        recording.process.send_signal(signal.SIGINT)
        told = re.compile(r"Murmelo has ended because the disk did not answer\. The last (\d+) seconds of “one” are lost; "
                          rf"what came before is repaired by “murmelo recover {re.escape(str(folder))}”\.")
        wait_for(lambda: told.search((self.work / "log").read_text()), "the sentence")
        lost = int(told.search((self.work / "log").read_text())[1])
        self.assertGreaterEqual(lost, 2)
        time.sleep(1)  # what a disk that answers at last gets then is more than was promised
        self.thaw()
        self.assertEqual(recording.process.wait(LIMIT), 1)
        self.assert_recovery_finds_all_but(lost, seconds, folder)


if __name__ == "__main__":
    main()

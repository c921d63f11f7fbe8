#!/usr/bin/env python3
"""The worst that can happen to the disk below a running “murmelo record”."""

import json
import os
import pathlib
import random
import shutil
import subprocess
import sys
import time
import unittest

from program import FIRST_SOUND, PACKET, Recording, TestCase, announced_seconds, decoded_frames, main, run

CUTS = 6
MOST_LOST = 2.0  # seconds


class Disk:
    """An ext4 file system in a file, mounted."""

    def __init__(self, image, place):
        self.image, self.place = image, place

    def make(self):
        with self.image.open("w") as file:
            file.truncate(64 << 20)
        subprocess.run(["mkfs.ext4", "-q", "-F", self.image], check=True)
        return self

    def mount(self):
        self.place.mkdir()
        return subprocess.run(["mount", "-o", "loop", self.image, self.place], capture_output=True, text=True)

    def unmount(self):
        subprocess.run(["umount", self.place], check=True)
        self.place.rmdir()


class PowerCuts(TestCase):
    """What a disk holds at a moment is a copy of the image that a file system is mounted from: what the program has not
    brought to the disk is not in it."""

    def cut_at_random_moments(self, image):
        """Some moments, each with the image of that moment."""
        cuts = []
        for number in range(CUTS):
            time.sleep(random.uniform(1, 2.5))
            copy = image.with_suffix(f".{number}")
            cuts.append((time.monotonic(), copy))
            shutil.copyfile(image, copy)
        return cuts

    @unittest.skipIf(os.geteuid() != 0, "no file system can be mounted here: that takes root")
    def test_at_most_two_seconds_are_lost(self):
        disk = Disk(self.work / "disk.image", self.work / "disk").make()
        mounted = disk.mount()
        if mounted.returncode:
            self.skipTest(f"no image can be mounted here: {mounted.stderr.strip()}")
        recording = None
        try:
            recording = Recording("--folder", disk.place / "recording", log=self.work / "log", stdout=subprocess.DEVNULL)
            began = {}
            for line in sorted(FIRST_SOUND.values()):
                recording.until_said(line)
                began.setdefault(line, time.monotonic())
            cuts = self.cut_at_random_moments(disk.image)
        finally:
            if recording:
                recording.process.kill()
                recording.process.wait()
            disk.unmount()

        lost = []
        for moment, image in cuts:
            after = Disk(image, self.work / "after")
            self.assertEqual(after.mount().returncode, 0)
            try:
                mended = json.loads(run("recover", "--json", after.place / "recording").stdout)
                self.assertEqual([(pathlib.Path(entry["path"]).name, entry["state"]) for entry in mended],
                                 [(name, "mended") for name in FIRST_SOUND])
                for entry in mended:
                    frames = round(entry["seconds"] * 48000)
                    self.assertIn(decoded_frames(entry["path"]), range(frames, frames + PACKET))
                    self.assertAlmostEqual(announced_seconds(entry["path"]), entry["seconds"], places=4)
                    lost.append(moment - began[FIRST_SOUND[pathlib.Path(entry["path"]).name]] - entry["seconds"])
            finally:
                after.unmount()
        print(f"{CUTS} power cuts, lost: most {max(lost):.2f} s", file=sys.stderr)
        self.assertLessEqual(max(lost), MOST_LOST)


class DeletedFolder(TestCase):
    def test_user_is_told_once_and_the_end_is_in_order(self):
        folder = self.work / "recording"
        recording = Recording("--folder", folder, log=self.work / "log", stdout=subprocess.DEVNULL)
        recording.until_said("first SYSTEM callback")
        shutil.rmtree(folder)
        recording.until_said("Stop and start again to lose no more.")
        for name in FIRST_SOUND:
            recording.until_said(f"[rec] {name} was deleted while it was recorded")
        recording.end()
        self.assertEqual(recording.process.returncode, 0)
        self.assertEqual(recording.log.read_text().count("Stop and start again"), 1)
        self.assertFalse(folder.exists())
        self.assert_nothing_left()


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""What players make of a recording that was killed, as it lies there and mended, and of one that was closed: FFmpeg and
GStreamer. (A browser is asked by chromium_playback.py.)"""

import json
import pathlib
import signal
import subprocess

from program import PACKET, Recording, TestCase, announced_seconds, decoded_frames, main, run

RATE = 48000


def gstreamer_frames(file, work):
    """How many frames come out, decoded by whatever GStreamer finds best."""
    raw = work / "decoded.raw"
    subprocess.run(["gst-launch-1.0", "-q", "filesrc", f"location={file}", "!", "decodebin", "!", "audioconvert", "!",
                    "audio/x-raw,format=S16LE,channels=2,rate=48000", "!", "filesink", f"location={raw}"],
                   check=True, capture_output=True, timeout=60)
    return raw.stat().st_size // 4


def gstreamer_seconds(file):
    """How long GStreamer takes the file to be."""
    said = subprocess.run(["gst-discoverer-1.0", file], check=True, capture_output=True, text=True, timeout=60).stdout
    hours, minutes, seconds = said.split("Duration: ")[1].split()[0].split(":")
    return int(hours) * 3600 + int(minutes) * 60 + float(seconds)


class Players(TestCase):
    def record(self):
        """Three folders: killed early, killed later, closed."""
        names = ["killed early", "killed later", "closed"]
        recordings = [Recording("--folder", self.work / name, log=self.work / (name + ".log")) for name in names]
        for recording, moment in zip(recordings, ["first SYSTEM callback", "[rec] 3s:", "[rec] 3s:"]):
            recording.until_said(moment)
            recording.end(signal.SIGTERM if recording is recordings[-1] else signal.SIGKILL)
        return [self.work / name for name in names]

    def entries(self, *arguments):
        listed = json.loads(run("recover", "--json", *arguments).stdout)
        return [(pathlib.Path(entry["path"]), round(entry["seconds"] * RATE), entry["state"]) for entry in listed]

    def test_lengths_are_those_that_recover_says(self):
        folders = self.record()
        for path, frames, state in self.entries("--dry-run", *folders):
            with self.subTest(file=path.name, folder=path.parent.name, state=state):
                if frames:  # what is not closed yet is played to its last whole second
                    self.assertLess(abs(decoded_frames(path) - frames), 2 * PACKET)
                    self.assertLess(abs(gstreamer_frames(path, self.work) - frames), 2 * PACKET)
        mended = self.entries(*folders)
        self.assertEqual([state for *_, state in mended], ["mended"] * 6 + ["whole"] * 3)
        self.assertGreater(min(frames for _, frames, _ in mended[3:]), RATE)
        for path, frames, state in mended:
            with self.subTest(file=path.name, folder=path.parent.name, state=state):
                self.assertAlmostEqual(announced_seconds(path), frames / RATE, places=4)
                self.assertLess(abs(decoded_frames(path) - frames), PACKET)
                if frames:  # GStreamer does not play a file without sound, and leaves out a last packet that is full
                    self.assertAlmostEqual(gstreamer_seconds(path), frames / RATE, places=6)
                    self.assertLessEqual(abs(gstreamer_frames(path, self.work) - frames), PACKET)


if __name__ == "__main__":
    main()

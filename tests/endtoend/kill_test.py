#!/usr/bin/env python3
"""Kills “murmelo record” at random moments, now and then while it closes its files, and mends what is left: every file
can be read, and only its last second may be missing.

    kill_test.py [--kills N] [--at-once N] [--seed N] [--keep FOLDER]

Many recordings run side by side, with one more that is spared: what it lacks as well the sound server never delivered,
on a machine with too much to do. The files stay in FOLDER when one is named. Inside a private session.
"""

import argparse
import json
import pathlib
import random
import shutil
import statistics
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor

from program import (FIRST_SOUND, PACKET, SCRIPTS, Recording, TestCase, announced_seconds, decoded_frames, main, run,
                     wait_for)

MOST_LOST = 1.2  # seconds
LONGEST_LIFE = 7.0  # seconds after the files are there


def options():
    parser = argparse.ArgumentParser()
    parser.add_argument("--kills", type=int, default=50)
    parser.add_argument("--at-once", type=int, default=10)
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 31))
    parser.add_argument("--keep", type=pathlib.Path)
    return parser.parse_args()


class Room:
    """Somebody speaks into the microphone and an application plays, again and again."""

    def __init__(self, work):
        said, self.voice, self.tone = work / "said.wav", work / "voice.wav", work / "tone.wav"
        subprocess.run(["flite", "-voice", "rms", "-t", "When does the meeting begin tomorrow?", "-o", said], check=True)
        subprocess.run(["sox", said, self.voice, "repeat", "30"], check=True)
        subprocess.run(["sox", "--null", "--rate", "48000", "--channels", "2", self.tone, "synth", "60", "sine",
                        "300-3000", "gain", "-6"], check=True)
        self.players = {}

    def go_on(self):
        for command in ((SCRIPTS / "private-session", "speak", self.voice), ("pw-play", self.tone)):
            if command not in self.players or self.players[command].poll() is not None:
                self.players[command] = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                                         stderr=subprocess.DEVNULL)

    def end(self):
        for player in self.players.values():
            player.terminate()
            player.wait()


class Victim:
    """A recording that is killed when its time has come, or closed when it is spared."""

    def __init__(self, folder, chance, spared=False):
        self.folder = folder
        self.spared = spared
        folder.mkdir(parents=True)
        self.life = LONGEST_LIFE if spared else chance.uniform(0, LONGEST_LIFE)
        # Closing takes a few milliseconds at the end of a life; one in five is killed about then.
        self.closing = chance.uniform(0, 0.05) if chance.random() < 0.2 else None
        self.recording = Recording("--folder", folder, log=folder / "log", stdout=subprocess.DEVNULL)
        self.files_there = None
        self.began = {}  # file -> when the first of its sound came
        self.ended = None  # when the last of it could have come

    def has_files(self):
        return all((self.folder / name).exists() and (self.folder / name).stat().st_size for name in FIRST_SOUND)

    def look(self):
        """True when it is dead."""
        now = time.monotonic()
        log = self.recording.log.read_text()
        for name, line in FIRST_SOUND.items():
            if line in log:
                self.began.setdefault(name, now)
        if self.files_there is None:
            if self.recording.process.poll() is not None:
                raise AssertionError(f"The recording ended by itself: {log}")
            self.files_there = now if self.has_files() else None
            return False
        if now < self.files_there + self.life:
            return False
        if self.spared:
            self.ended = time.monotonic()
            self.recording.end()
            return True
        if self.closing is not None:
            self.ended = time.monotonic()
            self.recording.process.terminate()
            time.sleep(self.closing)
        self.ended = self.ended or time.monotonic()
        self.recording.process.kill()
        self.recording.process.wait()
        return True

    def lost(self, name, seconds):
        """Seconds of sound that came and are not in the file."""
        return max(0, self.ended - self.began[name] - seconds) if name in self.began else 0


class Kills(TestCase):
    options = None

    def kill_some(self, count, batch, chance):
        """The victims of one go, dead, and the one that was spared."""
        victims = [Victim(batch / str(number), chance, spared=number == count) for number in range(count + 1)]
        alive = list(victims)

        def all_are_dead():
            alive[:] = [victim for victim in alive if not victim.look()]
            return not alive

        try:
            wait_for(all_are_dead, "the end of the recordings", interval=0.005)
        finally:
            for victim in alive:
                victim.recording.process.kill()
                victim.recording.process.wait()
        return victims

    def check(self, entry):
        """What is wrong with a recovered file."""
        path, frames = pathlib.Path(entry["path"]), round(entry.get("seconds", -1) * 48000)
        if entry["state"] not in ("mended", "whole"):
            return f"{path}: {entry}"
        decoded, announced = decoded_frames(path), announced_seconds(path)
        if not frames <= decoded < frames + PACKET:
            return f"{path}: {decoded} frames come out instead of {frames}"
        if abs(announced - entry["seconds"]) > PACKET / 48000:
            return f"{path}: {announced} s are announced instead of {entry['seconds']}"
        return None

    def test_only_the_last_second_is_lost(self):
        chance = random.Random(self.options.seed)
        place = self.options.keep or self.work / "recordings"
        room = Room(self.work)
        self.addCleanup(room.end)
        lost, starved, faults, states, left = [], [], [], [], self.options.kills
        while left:
            room.go_on()
            batch = place / str(left)
            victims = {victim.folder: victim for victim in self.kill_some(min(left, self.options.at_once), batch, chance)}
            left -= len(victims) - 1
            mended = json.loads(run("recover", "--json", *victims).stdout)
            self.assertEqual(sorted(pathlib.Path(entry["path"]) for entry in mended),
                             sorted(folder / name for folder in victims for name in FIRST_SOUND))
            with ThreadPoolExecutor(2) as pool:
                faults += filter(None, pool.map(self.check, mended))
            lacking = {path: victims[path.parent].lost(path.name, entry.get("seconds", 0))
                       for entry in mended for path in [pathlib.Path(entry["path"])]}
            undelivered = {path.name: time for path, time in lacking.items() if victims[path.parent].spared}
            starved.append(max(undelivered.values()))
            states += [entry["state"] for entry in mended]
            lost += [(max(0, time - undelivered[path.name]), path) for path, time in lacking.items()
                     if not victims[path.parent].spared]
            if not self.options.keep:
                shutil.rmtree(batch)
        seconds = [time for time, _ in lost]
        print(f"{self.options.kills} kills (seed {self.options.seed}), {len(states)} files: {states.count('mended')} mended, "
              f"{states.count('whole')} closed, {len(faults)} not as they should be; lost: median "
              f"{statistics.median(seconds):.2f} s, most {max(seconds):.2f} s; never delivered: {max(starved):.2f} s",
              file=sys.stderr)
        self.assertEqual(faults, [])
        self.assertLessEqual(max(lost), (MOST_LOST, pathlib.Path()))


if __name__ == "__main__":
    Kills.options = options()
    main()

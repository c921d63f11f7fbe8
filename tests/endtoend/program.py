"""Runs the program under test inside a private sound session. Standard library only."""

import json
import os
import pathlib
import pty
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAM = pathlib.Path(os.environ.get("MURMELO_PROGRAM", ""))
SCRIPTS = pathlib.Path(__file__).resolve().parents[2] / "scripts"
LIMIT = 120  # seconds; generous, only a hang reaches it
# The three files, each with the log line that its first sound comes with.
FIRST_SOUND = {"voice.m4a": "first MIC callback", "system.m4a": "first SYSTEM callback", "mix.m4a": "first MIC callback"}
PACKET = 1024  # frames; a player that knows only whole packets gives out the last one in whole


def run(*arguments, program=None, env=None, limit=LIMIT, **options):
    """The finished process, with its output as text."""
    return subprocess.run([program or PROGRAM, *map(str, arguments)], capture_output=True, text=True, timeout=limit,
                          env={**os.environ, **(env or {})}, stdin=subprocess.DEVNULL, **options)


def run_on_terminal(program, *arguments):
    """What the program draws when standard error is a terminal."""
    ours, terminal = pty.openpty()
    process = subprocess.Popen([program, *map(str, arguments)], stderr=terminal, stdout=subprocess.DEVNULL,
                               stdin=subprocess.DEVNULL)
    os.close(terminal)
    drawn = b""
    try:
        while piece := os.read(ours, 4096):
            drawn += piece
    except OSError:  # the terminal's other side is closed
        pass
    os.close(ours)
    assert process.wait(LIMIT) == 0, drawn
    return drawn.decode()


def program_without_workers(folder):
    """A copy for a test that puts speech workers of its own beside it."""
    program = folder / "murmelo"
    shutil.copy(PROGRAM, program)
    for part in ("lib/murmelo/murmelo-late.so", "libexec/murmelo-audio-length"):
        (folder / part).parent.mkdir(parents=True)
        (folder / part).symlink_to(pathlib.Path(PROGRAM).resolve().parent / part)
    return program


def last_line(text):
    lines = text.strip().splitlines()
    return lines[-1] if lines else ""


def wait_for(condition, what, interval=0.02):
    """Looks until the condition holds."""
    end = time.monotonic() + LIMIT
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"{what} did not happen within {LIMIT} s")
        time.sleep(interval)


def decoded_frames(file):
    """How many stereo frames FFmpeg decodes from the file."""
    command = ["ffmpeg", "-v", "error", "-i", str(file), "-f", "f32le", "-"]
    return len(subprocess.run(command, capture_output=True, check=True).stdout) // 8


def announced_seconds(file):
    """How long FFmpeg takes the file to be, before it decodes it."""
    command = ["ffprobe", "-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", str(file)]
    said = subprocess.run(command, capture_output=True, check=True, text=True).stdout.strip()
    return float(said) if said != "N/A" else 0.0


def silent_recording(folder, source="anullsrc=r=48000:cl=stereo", seconds=4):
    """A folder with two equal tracks made by FFmpeg."""
    folder.mkdir(parents=True)
    for name in ("voice.m4a", "system.m4a"):
        subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", source, "-t", str(seconds), "-ar", "48000", "-ac",
                        "2", "-b:a", "128k", str(folder / name)], check=True)
    return folder


def sound_objects():
    """All of the sound server. When some change meanwhile, pw-dump adds an array with what has become of them."""
    text = subprocess.run(["pw-dump"], capture_output=True, check=True, text=True).stdout
    objects = {}
    while text := text.lstrip():
        array, end = json.JSONDecoder().raw_decode(text)
        objects.update((each["id"], each) for each in array)
        text = text[end:]
    return objects.values()


def murmelo_nodes():
    """What the program shows to the sound server."""
    infos = [o.get("info") or {} for o in sound_objects() if o.get("type", "").endswith(":Node")]
    properties = [info.get("props", {}) for info in infos]
    return [p.get("node.name") for p in properties if "murmelo" in p.get("node.name", "").lower()
            or p.get("application.process.binary") == "murmelo"]


def worker_processes():
    found = []
    for entry in pathlib.Path("/proc").glob("[0-9]*/cmdline"):
        try:
            words = entry.read_bytes().split(b"\0")
        except OSError:
            continue
        if any(word.endswith(b"/murmelo-speech-pocketsphinx") for word in words[:2]) \
                and os.environ["HOME"].encode() in (entry.parent / "environ").read_bytes():
            found.append(entry.parent.name)
    return found


class Recording:
    """A running “murmelo record --verbose”; standard error is read from a file while it runs."""

    def __init__(self, *arguments, log, **options):
        self.log = pathlib.Path(log)
        with self.log.open("w") as stderr:
            self.process = subprocess.Popen([PROGRAM, "record", "--verbose", *map(str, arguments)], text=True,
                                            stderr=stderr, stdin=subprocess.DEVNULL, **{"stdout": subprocess.PIPE, **options})

    def until_said(self, text):
        wait_for(lambda: text in self.log.read_text() or self.process.poll() is not None, f"“{text}”")
        return self

    def end(self, by=signal.SIGTERM):
        self.process.send_signal(by)
        out, _ = self.process.communicate(timeout=LIMIT)
        return out


class Logind:
    """A system bus with a logind and a NetworkManager of ours; with “metered” the user pays for what is transferred."""

    def __init__(self, *arguments):
        self.process = subprocess.Popen([os.environ["MURMELO_FAKE_LOGIND"], *arguments], text=True, bufsize=1,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.env = {**os.environ, "DBUS_SYSTEM_BUS_ADDRESS": self.said()}

    def said(self):
        """The next line: the bus's address, later “guarded” or “released”."""
        return self.process.stdout.readline().strip()

    def order(self, word):
        """“sleep” or “wake”."""
        self.process.stdin.write(word + "\n")

    def end(self):
        self.process.communicate(timeout=LIMIT)


class TestCase(unittest.TestCase):
    def setUp(self):
        self.work = pathlib.Path(tempfile.mkdtemp(prefix="murmelo test ü "))
        self.addCleanup(shutil.rmtree, self.work, ignore_errors=True)

    def assert_failed(self, result, sentence):
        self.assertEqual(last_line(result.stderr), sentence)
        self.assertEqual(result.returncode, 1)

    def assert_whole(self, folder, names=("voice.m4a", "system.m4a", "mix.m4a")):
        """Ordinary files, closed, and as long as one another where they must be."""
        found = json.loads(run("recover", "--json", "--dry-run", folder).stdout)
        self.assertEqual([(pathlib.Path(file["path"]).name, file["state"]) for file in found],
                         [(name, "whole") for name in names])
        self.assertEqual(decoded_frames(folder / "voice.m4a"), decoded_frames(folder / "mix.m4a"))

    def assert_nothing_left(self):
        wait_for(lambda: not murmelo_nodes(), "the disappearance of the program's nodes")
        self.assertEqual(worker_processes(), [])


def main():
    unittest.main(argv=[sys.argv[0], "-v"])

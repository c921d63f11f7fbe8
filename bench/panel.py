#!/usr/bin/python3
"""What the panel costs beside a bare Qt Quick window: time from the start to the first frame on the screen, memory, and
CPU with moving meters and while hidden. Inside a private session with bus and desktop: panel.py MURMELO BARE_WINDOW
"""

import os
import pathlib
import statistics
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests/endtoend"))
from screen import Area, Screen  # noqa: E402: it is where the path above says

STARTS = 7
SECONDS = 10
LIMIT = 60
QUIET = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL, "stdin": subprocess.DEVNULL}


class Shown:
    """A program whose window is on the screen; `delay` is how long that took, in seconds."""

    def __init__(self, screen, program, title):
        start = time.monotonic()
        self.process = subprocess.Popen([program], **QUIET)
        while not self.is_drawn(screen, title):
            time.sleep(0.002)  # the core is the program's
            if time.monotonic() - start > LIMIT:
                sys.exit(f"{program} shows no window “{title}”")
        self.delay = time.monotonic() - start

    def is_drawn(self, screen, title):
        """A column through the middle of the window holds more than a background."""
        for left, top, right, bottom in screen.windows(title):
            middle = (left + right) // 2
            return len(screen.colours(Area(middle, top, middle + 1, bottom))) > 3
        return False

    def cpu_seconds(self):
        fields = pathlib.Path(f"/proc/{self.process.pid}/stat").read_text().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def load(self):
        """Share of a core over the next seconds."""
        before = self.cpu_seconds()
        time.sleep(SECONDS)
        return (self.cpu_seconds() - before) / SECONDS

    def memory(self):
        """Resident, and without what other programs share, in MB."""
        lines = pathlib.Path(f"/proc/{self.process.pid}/smaps_rollup").read_text().splitlines()[1:]
        kilobytes = {line.split()[0]: int(line.split()[1]) for line in lines}
        return kilobytes["Rss:"] / 1024, (kilobytes["Private_Clean:"] + kilobytes["Private_Dirty:"]) / 1024

    def end(self):
        self.process.terminate()
        self.process.wait()


def delays(screen, programs):
    """Of each program, in milliseconds; in turns, so that a busy moment meets both."""
    found = [[] for _ in programs]
    for _ in range(STARTS):
        for program, list_of_delays in zip(programs, found):
            shown = Shown(screen, *program)
            list_of_delays.append(shown.delay * 1000)
            shown.end()
    return [statistics.median(each) for each in found]


def play_for_good(folder):
    """Sound that moves both meters."""
    sound = folder / "sound.wav"
    subprocess.run(["sox", "-n", "-r", "48000", "-c", "2", sound, "synth", "60", "sine", "300", "tremolo", "3", "90"],
                   check=True)
    return [subprocess.Popen(["pw-play", sound], **QUIET),
            subprocess.Popen([ROOT / "scripts/private-session", "speak", sound], **QUIET)]


def row(name, unit, ours, theirs, goal):
    ratio = f"{ours / theirs:7.2f}" if theirs else "      -"
    print(f"  {name:26} {ours:8.1f} {unit:4} {theirs:8.1f} {unit:4} {ratio}  {goal}")


def main():
    settings = pathlib.Path(os.environ["XDG_CONFIG_HOME"]) / "murmelo"
    settings.mkdir(parents=True, exist_ok=True)
    (settings / "murmelo.conf").write_text("[General]\nonboarded=true\n")
    screen = Screen()
    murmelo, bare = (sys.argv[1], "Murmelo"), (sys.argv[2], "Bare")
    our_delay, their_delay = delays(screen, [murmelo, bare])

    shown = Shown(screen, *bare)
    time.sleep(2)
    their_load, (their_memory, their_private) = shown.load(), shown.memory()
    shown.end()
    shown = Shown(screen, *murmelo)
    players = play_for_good(settings)
    time.sleep(2)
    our_load, (our_memory, our_private) = shown.load(), shown.memory()
    subprocess.run(["xdotool", "key", "Escape"], check=True)
    time.sleep(2)
    if screen.windows("Murmelo"):
        sys.exit("the panel does not close")
    hidden_load = shown.load()
    shown.end()
    for player in players:
        player.terminate()
        player.wait()

    print("the panel                        murmelo      bare window    ratio")
    row("start to first frame", "ms", our_delay, their_delay, "(goal: at most 100 ms)")
    row("resident memory", "MB", our_memory, their_memory, "(goal: at most 60 MB)")
    row("of it private", "MB", our_private, their_private, "")
    row("CPU, bars moving", "%", our_load * 100, their_load * 100, "(goal: at most 3 % of a core)")
    row("CPU, hidden", "%", hidden_load * 100, 0, "(goal: 0 %)")


if __name__ == "__main__":
    main()

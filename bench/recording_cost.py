#!/usr/bin/env python3
"""What recording costs: CPU seconds of “murmelo record” and of the ffmpeg command line that captures the same two
sources over the Pulse interface, mixes them and encodes the same three files. Both run at the same time on the same
sound. Inside a private session: recording_cost.py MURMELO [SECONDS]
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

MURMELO = pathlib.Path(sys.argv[1]).resolve()
SECONDS = float(sys.argv[2]) if len(sys.argv) > 2 else 60
SCRIPTS = pathlib.Path(__file__).resolve().parents[1] / "scripts"
TICK = os.sysconf("SC_CLK_TCK")
QUIET = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL, "stdin": subprocess.DEVNULL}


def speech(folder, name, voice, text):
    """A voice that says the same again and again, with pauses, for longer than the recording."""
    said, file = folder / f"{name}-said.wav", folder / f"{name}.wav"
    subprocess.run(["flite", "-voice", voice, "-t", text, "-o", said], check=True)
    subprocess.run(["sox", said, "--rate", "48000", "--channels", "1", file, "pad", "0.5", "1", "repeat",
                    str(int(SECONDS / 3) + 2)], check=True)
    return file


def start_ffmpeg(folder):
    folder.mkdir()
    encode = ["-c:a", "aac", "-b:a", "128k", "-ar", "48000", "-ac", "2", "-t", str(SECONDS)]
    outputs = [word for name in ("voice", "system", "mix")
               for word in ("-map", f"[{name}]", *encode, str(folder / f"{name}.m4a"))]
    return subprocess.Popen(
        ["ffmpeg", "-nostdin", "-v", "error", "-f", "pulse", "-i", "virtual_microphone", "-f", "pulse", "-i",
         "virtual_loudspeaker.monitor", "-filter_complex",
         "[0:a]aformat=channel_layouts=stereo,asplit[voice][v];[1:a]asplit[system][s];"
         "[v][s]amix=inputs=2:normalize=0[mix]", *outputs], **QUIET)


def thread_seconds(pid):
    """CPU seconds of each thread so far, by name."""
    found = {}
    for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
        name = (task / "comm").read_text().strip()
        fields = (task / "stat").read_text().rsplit(")", 1)[1].split()
        found[name] = found.get(name, 0) + (int(fields[11]) + int(fields[12])) / TICK
    return found


def usage_of(process):
    """Waits for the end; CPU seconds and peak memory in MB."""
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def measure(work):
    you = speech(work, "you", "rms", "When does the meeting begin tomorrow?")
    audio = speech(work, "audio", "slt", "The meeting will begin at nine in the morning.")
    processes = [subprocess.Popen([SCRIPTS / "private-session", "speak", you], **QUIET),
                 subprocess.Popen(["pw-play", audio], **QUIET)]
    try:
        with (work / "log").open("w") as log:
            murmelo = subprocess.Popen([MURMELO, "record", f"--seconds={SECONDS}", "--folder", work / "murmelo"],
                                       **{**QUIET, "stderr": log})
        ffmpeg = start_ffmpeg(work / "ffmpeg")
        processes += [murmelo, ffmpeg]
        threads = {}
        try:
            murmelo.wait(SECONDS - 0.5)
        except subprocess.TimeoutExpired:  # as it should be: a last look before the threads are gone
            threads = thread_seconds(murmelo.pid)
        ours, theirs = usage_of(murmelo), usage_of(ffmpeg)
    finally:
        for process in processes:
            if process.returncode is None:
                process.terminate()
                process.wait()
    if murmelo.returncode or ffmpeg.returncode:
        sys.exit(f"murmelo ended with {murmelo.returncode}, ffmpeg with {ffmpeg.returncode}")
    return ours, theirs, threads


def main():
    work = pathlib.Path(tempfile.mkdtemp(prefix="murmelo-bench-"))
    try:
        (our_time, our_memory), (their_time, their_memory), threads = measure(work)
    finally:
        shutil.rmtree(work)
    print(f"recording of {SECONDS:.0f} s      murmelo     ffmpeg   ratio")
    print(f"  CPU seconds          {our_time:8.2f}   {their_time:8.2f}   {our_time / their_time:5.2f}  (goal: at most 0.75)")
    print(f"  peak memory, MB      {our_memory:8.1f}   {their_memory:8.1f}   {our_memory / their_memory:5.2f}")
    print("  where murmelo's time goes, by thread:")
    for name, seconds in sorted(threads.items(), key=lambda item: -item[1]):
        print(f"    {name:20} {seconds:6.2f} s")


if __name__ == "__main__":
    main()

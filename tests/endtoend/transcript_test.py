#!/usr/bin/env python3
"""“murmelo transcribe” as a user meets it, with the real recogniser and with broken ones."""

import array
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import unittest

from program import LIMIT, PROGRAM, SCRIPTS, TestCase, decoded_frames, last_line, main, program_without_workers, \
    run, run_on_terminal, silent_recording, wait_for, worker_processes

NOTHING = "Transcription failed: No speech recognized."
WORKER = "libexec/murmelo-speech-pocketsphinx"


def words(text):
    return re.sub(r"[^a-z' ]", " ", text.lower()).split()


def word_errors(reference, hypothesis):
    """Levenshtein distance over words."""
    row = list(range(len(hypothesis) + 1))
    for i, word in enumerate(reference, 1):
        row, previous = [i], row
        for j, other in enumerate(hypothesis, 1):
            row.append(min(previous[j] + 1, row[j - 1] + 1, previous[j - 1] + (word != other)))
    return row[-1]


def sound_starts(file, quiet=1.0, threshold=0.01):
    """Seconds at which sound begins after at least `quiet` seconds without."""
    # Windows of 10 ms; a rate of 1 kHz loses nothing but the top of the voice.
    window, rate = 10, 1000
    samples = array.array("f", subprocess.run(
        ["ffmpeg", "-v", "error", "-i", str(file), "-ac", "1", "-ar", str(rate), "-f", "f32le", "-"],
        capture_output=True, check=True).stdout)
    starts, last = [], -quiet
    for begin in range(0, len(samples), window):
        if max(abs(sample) for sample in samples[begin:begin + window]) > threshold:
            time = begin / rate
            if time - last >= quiet:
                starts.append(time)
            last = time
    return starts


class StagedConversation(TestCase):
    """Two synthetic voices, one into the microphone, one played by an ordinary application."""

    def test_becomes_a_transcript_with_the_right_speakers_words_and_times(self):
        folder = self.work / "the talk"
        staged = subprocess.run([SCRIPTS / "staged-conversation", PROGRAM, folder], capture_output=True, text=True,
                                timeout=LIMIT)
        self.assertEqual(staged.returncode, 0, staged.stderr)
        transcript = folder / "transcript.txt"
        self.assertEqual(staged.stdout.splitlines()[-1], str(transcript))

        said = [line.split("\t") for line in (SCRIPTS / "conversation.txt").read_text().splitlines()
                if not line.startswith("#")]
        text = transcript.read_text()
        self.assertFalse(text.endswith("\n"))
        lines = [re.fullmatch(r"\[(\d\d):(\d\d)\] (You|Audio): (\S.*)", line).groups() for line in text.splitlines()]
        self.assertEqual([line[2] for line in lines], [speaker for _, speaker, _ in said], text)

        truth = sorted((start, speaker) for speaker, name in (("You", "voice.m4a"), ("Audio", "system.m4a"))
                       for start in sound_starts(folder / name))
        self.assertEqual(len(truth), len(said))
        for (start, _), (minutes, seconds, _, _) in zip(truth, lines):
            written = int(minutes) * 60 + int(seconds)  # whole seconds, cut off
            self.assertTrue(written - 0.5 <= start < written + 1.5, f"{start} is written as {written}")

        for who in ("You", "Audio"):
            reference = words(" ".join(line for _, speaker, line in said if speaker == who))
            hypothesis = words(" ".join(line[3] for line in lines if line[2] == who))
            rate = word_errors(reference, hypothesis) / len(reference)
            self.assertLessEqual(rate, 0.15, f"{who}: {hypothesis}")
        self.assertEqual(decoded_frames(folder / "voice.m4a"), decoded_frames(folder / "mix.m4a"))
        self.assert_nothing_left()

        # And again, of the same folder, by itself.
        result = run("transcribe", folder, "--json")
        self.assertEqual(json.loads(result.stdout), {"transcript": str(transcript)})
        self.assertEqual(transcript.read_text(), text)


class NoSpeech(TestCase):
    def assert_no_speech(self, *source):
        folder = silent_recording(self.work / "r", *source)
        self.assert_failed(run("transcribe", folder), NOTHING)
        self.assertEqual(sorted(p.name for p in folder.iterdir()), ["system.m4a", "voice.m4a"])

    def test_silence(self):
        self.assert_no_speech()

    def test_noise(self):
        self.assert_no_speech("anoisesrc=r=48000:color=pink:amplitude=0.2:seed=7", 20)

    def test_tone(self):
        self.assert_no_speech("sine=frequency=440:r=48000:beep_factor=3", 20)

    def test_recording_of_nothing(self):
        folder = self.work / "r"
        result = run("record", "--seconds=2", "--transcribe", "--folder", folder)
        self.assert_failed(result, NOTHING)
        self.assertEqual(len(result.stdout.splitlines()), 3)
        self.assertFalse((folder / "transcript.txt").exists())

    def test_older_transcript_stays(self):
        folder = silent_recording(self.work / "r")
        (folder / "transcript.txt").write_text("old")
        self.assert_failed(run("transcribe", folder), NOTHING)
        self.assertEqual((folder / "transcript.txt").read_text(), "old")


class BadInput(TestCase):
    def test_missing_folder(self):
        self.assert_failed(run("transcribe", self.work / "no"), f"There is no folder “{self.work}/no”.")

    def test_empty_folder(self):
        self.assert_failed(run("transcribe", self.work), NOTHING)

    def test_files_that_are_no_audio(self):
        whole = (silent_recording(self.work / "whole") / "voice.m4a").read_bytes()
        for name, content in {"empty": b"", "garbage": os.urandom(5000), "text": b"hello\n" * 500,
                              "truncated": whole[: len(whole) // 2], "beginning": whole[:100]}.items():
            folder = self.work / name
            folder.mkdir()
            for track in ("voice.m4a", "system.m4a"):
                (folder / track).write_bytes(content)
            self.assert_failed(run("transcribe", folder), NOTHING)
            self.assertFalse((folder / "transcript.txt").exists())

    def test_folders_and_pipes_in_place_of_tracks(self):
        (self.work / "voice.m4a").mkdir()
        os.mkfifo(self.work / "system.m4a")
        self.assert_failed(run("transcribe", self.work), NOTHING)


class BrokenEngine(TestCase):
    """The program beside a worker of the test's making."""

    def setUp(self):
        super().setUp()
        self.program = program_without_workers(self.work)
        self.recording = silent_recording(self.work / "r", "sine=frequency=300:r=48000")

    def use_worker(self, script):
        worker = self.work / WORKER
        worker.write_text("#!/bin/sh\n" + script)
        worker.chmod(0o755)

    def assert_tracks_failed(self, pattern):
        self.assertEqual(run("transcribe", self.recording, program=self.program).stderr, NOTHING + "\n")
        result = run("transcribe", "--verbose", self.recording, program=self.program)
        self.assert_failed(result, NOTHING)
        for track in ("voice.m4a", "system.m4a"):
            self.assertRegex(result.stderr, rf"\[ts\] {track} failed: Error Domain=engine Code=\d+ \"{pattern}\"")
        self.assertEqual(worker_processes(), [])

    def test_missing(self):
        self.assert_tracks_failed("The speech worker .* is missing.*")

    def test_crash(self):
        self.use_worker("kill -SEGV $$")
        self.assert_tracks_failed(".+")

    def test_failure_without_a_word(self):
        self.use_worker("exit 3")
        self.assert_tracks_failed(".+")

    def test_rubbish(self):
        self.use_worker("head -c 5000 /dev/urandom | tr '\\n' x; echo")
        self.assert_tracks_failed(".+")

    def test_end_without_an_answer(self):
        self.use_worker("exit 0")
        self.assert_tracks_failed(".+")

    def test_hang_is_ended_by_ctrl_c_and_leaves_nothing(self):
        self.use_worker(f"touch '{self.work}/started'; sleep 1000")
        process = subprocess.Popen([self.program, "transcribe", self.recording], stderr=subprocess.PIPE, text=True,
                                   stdout=subprocess.PIPE, stdin=subprocess.DEVNULL)
        wait_for((self.work / "started").exists, "the start of the worker")
        process.send_signal(signal.SIGINT)
        _, said = process.communicate(timeout=LIMIT)
        self.assertEqual((process.returncode, last_line(said)), (1, "Transcription failed: Transcription cancelled."))
        self.assertEqual(worker_processes(), [])
        self.assertFalse(list(self.recording.glob(".*")))

    def test_death_of_the_program_ends_the_worker(self):
        self.use_worker(f"echo $$ > '{self.work}/pid'; cat > /dev/null")
        process = subprocess.Popen([self.program, "transcribe", self.recording], stderr=subprocess.DEVNULL,
                                   stdin=subprocess.DEVNULL)
        wait_for((self.work / "pid").exists, "the start of the worker")
        process.kill()
        process.wait(LIMIT)
        wait_for(lambda: not worker_processes(), "the end of the worker")

    def test_progress_is_shown_on_a_terminal_and_nowhere_else(self):
        self.use_worker('for second in 1 3; do echo "{\\"start\\": $second, \\"end\\": 4, \\"text\\": \\"Hello\\"}"; done\n'
                        'echo \'{"lastSampleTime": 4.0}\'')
        command = ("transcribe", self.recording)
        shown = run_on_terminal(self.program, *command)
        for track in ("voice.m4a", "system.m4a"):
            for share in (0, 25, 75):
                self.assertIn(f"\r\x1b[KTranscribing {track}  {share} % of 00:04", shown)
        self.assertTrue(shown.endswith("\r\x1b[K"), shown)
        result = run(*command, program=self.program)
        self.assertEqual(result.stdout, str(self.recording / "transcript.txt") + "\n")
        self.assertNotIn("Transcribing", result.stderr)
        self.assertNotIn("\x1b", result.stderr)

    def test_one_good_track_is_kept(self):
        self.use_worker('case "$(readlink /proc/$$/fd/3)" in *voice*) exit 1;; esac\n'
                        'echo \'{"start": 1.5, "end": 2.0, "text": "Hello"}\'; echo \'{"lastSampleTime": 4.0}\'')
        result = run("transcribe", self.recording, program=self.program, umask=0)
        self.assertEqual(result.returncode, 0, result.stderr)
        transcript = pathlib.Path(result.stdout.strip())
        self.assertEqual(transcript.read_text(), "[00:01] Audio: Hello")
        self.assertEqual(oct(transcript.stat().st_mode), oct(0o100600))


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""The program's unattended self-tests, with the real engine."""

import os
import pathlib
import re
import signal
import subprocess
import time

from program import FIRST_SOUND, LIMIT, PROGRAM, TestCase, main, program_without_workers, run, silent_recording, wait_for

SENTENCE = "This is what the computer plays, and it goes on for a while."


class SelfTest(TestCase):
    def setUp(self):
        super().setUp()
        # A home of its own: settings, log and recordings.
        self.home = self.work / "home"
        self.config = self.work / "config"
        (self.config / "murmelo").mkdir(parents=True)
        self.home.mkdir()
        self.env = {**os.environ, "HOME": str(self.home), "XDG_CONFIG_HOME": str(self.config)}
        self.settings("onboarded=true")

    def settings(self, *lines):
        (self.config / "murmelo" / "murmelo.conf").write_text("\n".join(["[General]", *lines]) + "\n")

    def stored(self):
        return (self.config / "murmelo" / "murmelo.conf").read_text()

    def launch(self, **variables):
        return subprocess.Popen([PROGRAM], env={**self.env, **variables}, text=True, stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def run_self_test(self, **variables):
        """The log's lines; the exit status is 0 whatever happens."""
        result = run(env={**self.env, **variables})
        self.assertEqual((result.returncode, result.stdout), (0, ""))
        self.assert_nothing_left()
        return result.stderr.splitlines()

    def tagged(self, lines, *tags):
        return [line for line in lines if line.startswith(tags)]

    def play_and_speak(self):
        sound = self.work / "sound.wav"
        subprocess.run(["flite", "-voice", "slt", "-t", SENTENCE, "-o", sound], check=True)
        speak = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "private-session"
        for command in (["pw-play", sound], [speak, "speak", sound]):
            process = subprocess.Popen(["sh", "-c", 'while "$@"; do :; done', "sh", *command], start_new_session=True)
            self.addCleanup(process.wait)
            self.addCleanup(os.killpg, process.pid, signal.SIGKILL)


class CaptureCheck(SelfTest):
    def test_a_working_loudspeaker_gives_true(self):
        lines = self.run_self_test(TAPDECK_CHECK="1")
        check = self.tagged(lines, "[check]")
        self.assertRegex(check[0], r"\A\[check\] systemAudioWorks maxAmp=0\.0\d+\Z")
        self.assertEqual(check[1:], ["[check] result=true"])

    def test_without_a_sound_server_it_gives_false(self):
        lines = self.run_self_test(TAPDECK_CHECK="1", PIPEWIRE_RUNTIME_DIR="/nonexistent", XDG_RUNTIME_DIR="/nonexistent")
        self.assertEqual(self.tagged(lines, "[check]"), ["[check] result=false"])


class Variables(SelfTest):
    def test_values_other_than_1_start_the_ordinary_program(self):
        """Which needs a desktop; an enabled self-test does not."""
        for value in ("0", "true", ""):
            for variable in ("TAPDECK_DIAG", "TAPDECK_CHECK"):
                with self.subTest(variable=variable, value=value):
                    result = run(env={**self.env, variable: value}, limit=20)
                    self.assertEqual((result.returncode, result.stderr),
                                     (1, "There is no desktop here to appear on. “murmelo record” records on the terminal.\n"))


class Diagnostic(SelfTest):
    def test_lines_come_in_order_and_the_files_hold_sound(self):
        self.play_and_speak()
        begin = time.monotonic()
        lines = self.run_self_test(TAPDECK_DIAG="1")
        self.assertGreater(time.monotonic() - begin, 10.4)
        told = self.tagged(lines, "[diag]", "[app] toggle")
        self.assertEqual(told[:2], ['[diag] start; micStatus=granted mics=["Virtual Microphone"]',
                                    "[app] toggle; rec=false micStatus=granted selMic=virtual_microphone"])
        self.assertRegex(told[2], r"\A\[diag\] 8s: rec=true warm=false mic=\d\.\d+ out=\d\.\d+ status=\Z")
        sizes = [re.fullmatch(r"\[diag\] (\w+\.m4a) size=(-?\d+)", line).groups() for line in told[3:6]]
        self.assertEqual([name for name, _ in sizes], ["mix.m4a", "voice.m4a", "system.m4a"])
        for _, size in sizes:
            self.assertGreater(int(size), 50000)
        self.assertEqual(told[6:], ["[diag] done"])
        recordings = list((self.home / "Murmelo").glob("recording-*"))
        self.assertEqual(len(recordings), 1)
        self.assert_whole(recordings[0])

    def test_without_microphones_it_ends_all_the_same(self):
        lines = self.run_self_test(TAPDECK_DIAG="1", PIPEWIRE_RUNTIME_DIR="/nonexistent", XDG_RUNTIME_DIR="/nonexistent")
        self.assertEqual(self.tagged(lines, "[diag]", "[app] toggle"), [
            "[diag] start; micStatus=granted mics=[]",
            "[app] toggle; rec=false micStatus=granted selMic=nil",
            "[diag] 8s: rec=false warm=false mic=0.0 out=0.0 status=Pick a microphone first.",
            "[diag] done"])

    def test_a_signal_in_the_middle_closes_the_files(self):
        program = self.launch(TAPDECK_DIAG="1")
        wait_for(lambda: list(self.home.glob("Murmelo/recording-*/mix.m4a")), "the recording")
        time.sleep(2)  # of sound
        program.send_signal(signal.SIGTERM)
        program.communicate(timeout=LIMIT)
        self.assertEqual(program.returncode, 0)
        self.assert_whole(next(self.home.glob("Murmelo/recording-*")))
        self.assert_nothing_left()


class EndDuringTranscription(SelfTest):
    """The program beside a worker that never ends by itself."""

    def setUp(self):
        super().setUp()
        self.program = program_without_workers(self.work)
        self.worker_started = self.work / "started"
        worker = self.work / "libexec/murmelo-speech-pocketsphinx"
        worker.write_text(f"#!/bin/sh\ntouch '{self.worker_started}'; sleep 1000\n")
        worker.chmod(0o755)

    def assert_ends_while_transcribing(self, *conditions, **variables):
        with (self.work / "log").open("w+") as log:
            program = subprocess.Popen([self.program], env={**self.env, **variables}, stdin=subprocess.DEVNULL,
                                       stdout=subprocess.DEVNULL, stderr=log)
            self.addCleanup(program.wait)
            self.addCleanup(program.kill)
            wait_for(self.worker_started.exists, "the start of the worker")
            for said in conditions:
                wait_for(lambda: said in pathlib.Path(log.name).read_text(), f"“{said}”")
            program.send_signal(signal.SIGTERM)
            self.assertEqual(program.wait(timeout=LIMIT), 0)
            log.seek(0)
            self.assertNotIn("[ts-test]", log.read())
        self.assert_nothing_left()

    def test_a_signal_ends_the_transcription_of_a_diagnostic_s_recording(self):
        self.settings("onboarded=true", "transcribe=true")
        self.assert_ends_while_transcribing("[diag] 8s: rec=true", TAPDECK_DIAG="1")
        self.assert_whole(next(self.home.glob("Murmelo/recording-*")))

    def test_a_signal_ends_the_transcription_of_a_folder_while_a_diagnostic_records(self):
        folder = silent_recording(self.work / "one")
        self.assert_ends_while_transcribing("[diag] start", TAPDECK_DIAG="1", TAPDECK_TS=str(folder))

    def test_a_signal_ends_the_transcription_of_a_folder(self):
        folder = silent_recording(self.work / "one")
        self.assert_ends_while_transcribing(TAPDECK_TS=str(folder))


class Transcription(SelfTest):
    def test_a_folder_without_recordings_fails(self):
        lines = self.run_self_test(TAPDECK_TS=str(self.work))
        self.assertEqual(self.tagged(lines, "[ts-test]"),
                         ['[ts-test] FAILED Error Domain=transcriber Code=1 "No speech recognized."'])

    def test_an_empty_value_starts_it_too(self):
        lines = self.run_self_test(TAPDECK_TS="")
        self.assertEqual(len(self.tagged(lines, "[ts-test] FAILED")), 1)

    def test_a_recording_is_transcribed(self):
        folder = self.work / "one"
        self.play_and_speak()
        self.assertEqual(run("record", "--seconds", "6", "--folder", folder).returncode, 0)
        lines = self.run_self_test(TAPDECK_TS=str(folder))
        self.assertEqual(self.tagged(lines, "[ts-test]"), [f"[ts-test] OK {folder}/transcript.txt"])
        self.assertIn("] You: ", (folder / "transcript.txt").read_text())


class Launch(SelfTest):
    def test_the_chosen_microphone_survives_a_launch_without_a_sound_server(self):
        self.settings("onboarded=true", "micID=my_headset")
        self.run_self_test(TAPDECK_TS="", PIPEWIRE_RUNTIME_DIR="/nonexistent", XDG_RUNTIME_DIR="/nonexistent")
        self.assertIn("micID=my_headset", self.stored())

    def test_a_microphone_that_is_gone_is_replaced_and_stored(self):
        self.settings("onboarded=true", "micID=my_headset")
        lines = self.run_self_test(TAPDECK_TS="")
        self.assertIn("[app] auto-selected mic: Virtual Microphone", lines)
        self.assertIn("micID=virtual_microphone", self.stored())

    def test_a_recording_that_was_cut_short_is_recovered(self):
        folder = self.home / "Murmelo" / "recording-2026-01-02-030405"
        killed = subprocess.Popen([PROGRAM, "record", "--folder", folder], stderr=subprocess.DEVNULL)
        self.addCleanup(killed.kill)
        files = [folder / name for name in FIRST_SOUND]
        wait_for(lambda: all(file.exists() and file.stat().st_size > 4000 for file in files), "some sound")
        killed.kill()
        killed.wait()
        program = self.launch(QT_QPA_PLATFORM="offscreen")
        wait_for(lambda: "[app] recovered files: 3" in (self.home / "Music/Murmelo/debug.log").read_text()
                 if (self.home / "Music/Murmelo/debug.log").exists() else False, "the recovery")
        program.send_signal(signal.SIGTERM)
        program.communicate(timeout=LIMIT)
        self.assert_whole(folder)


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Speech models as a user meets them: the program beside workers of the test's making, and a server on this machine."""

import json
import os
import re
import shutil
import signal
import subprocess
import time

from model_server import ID, WithModels
from program import LIMIT, Logind, Recording, TestCase, last_line, main, run, silent_recording, wait_for


class SpeechModels(WithModels, TestCase):
    def setUp(self):
        super().setUp()
        self.set_up_models()
        self.env = self.models_env
        self.models = self.work / "data/murmelo/models"

    def murmelo(self, *arguments):
        return run(*arguments, program=self.program, env=self.env)

    def start(self, *arguments):
        return subprocess.Popen([self.program, *arguments], text=True, stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, env={**os.environ, **self.env})

    def transcript_of(self, recording):
        result = self.murmelo("transcribe", "--verbose", recording)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stderr, (recording / "transcript.txt").read_text()

    def test_the_first_transcription_downloads_the_model_and_the_next_one_uses_it(self):
        recording = silent_recording(self.work / "r")
        log, text = self.transcript_of(recording)
        self.assertEqual(log.count("[ts] downloading speech model for en_US"), 1, "for the first track only")
        self.assertEqual(text, "[00:01] You: the model\n[00:01] Audio: the model")
        log, _ = self.transcript_of(recording)
        self.assertNotIn("downloading", log)
        self.assertEqual(self.server.requests, 1)
        self.assertEqual(json.loads((self.models / ID / "model.json").read_text())["kind"], "nemo_ctc")

    def test_without_a_server_the_built_in_recogniser_serves_and_the_log_says_so(self):
        self.write_catalogue("http://127.0.0.1:9/small-en.tar.bz2")
        log, text = self.transcript_of(silent_recording(self.work / "r"))
        self.assertEqual(text, "[00:01] You: the built-in engine\n[00:01] Audio: the built-in engine")
        self.assertEqual(len(re.findall(r"\[ts\] the built-in recogniser serves en_US: The speech model could not be downloaded "
                                        r"from 127\.0\.0\.1: Could(n't| not) connect to server\.", log)), 2,
                         "once for each track, in the words of libcurl's version")

    def test_nothing_is_downloaded_over_a_metered_connection_unless_the_user_asks_for_it(self):
        system = Logind("metered")
        self.addCleanup(system.end)
        self.env["DBUS_SYSTEM_BUS_ADDRESS"] = system.env["DBUS_SYSTEM_BUS_ADDRESS"]
        log, text = self.transcript_of(silent_recording(self.work / "r"))
        self.assertEqual(text, "[00:01] You: the built-in engine\n[00:01] Audio: the built-in engine")
        self.assertEqual(log.count("[ts] the built-in recogniser serves en_US: The speech model “small-en” (0.1 MB) is not "
                                   "downloaded over a metered connection, unless you want it: “murmelo models install "
                                   "small-en”."), 2, log)
        self.assertEqual(self.server.requests, 0)
        self.assertEqual(self.murmelo("models", "install", ID).returncode, 0)
        self.assertEqual(self.server.requests, 1)

    def test_a_download_waits_while_another_program_records(self):
        recording = Recording("--folder", self.work / "recording", log=self.work / "log").until_said("first MIC callback")
        with (self.work / "said").open("w") as said:
            transcribe = subprocess.Popen([self.program, "transcribe", "--verbose", silent_recording(self.work / "r")],
                                          env={**os.environ, **self.env}, stdout=subprocess.DEVNULL, stderr=said)
        wait_for(lambda: "downloading speech model" in (self.work / "said").read_text(), "the download")
        wait_for(lambda: (self.work / "log").stat().st_mtime + 0.5 < time.time(), "half a second of the recording")
        self.assertEqual(self.server.requests, 0)
        recording.end()
        self.assertEqual(transcribe.wait(LIMIT), 0)
        self.assertEqual(self.server.requests, 1)
        self.assertEqual((self.work / "r/transcript.txt").read_text(), "[00:01] You: the model\n[00:01] Audio: the model")

    def test_without_its_library_nothing_is_downloaded_and_the_list_says_what_is_missing(self):
        shutil.rmtree(self.work / "lib/murmelo/sherpa-onnx")
        _, text = self.transcript_of(silent_recording(self.work / "r"))
        self.assertEqual(text, "[00:01] You: the built-in engine\n[00:01] Audio: the built-in engine")
        self.assertEqual(self.server.requests, 0)
        self.assertFalse(self.models.exists())
        listed = self.murmelo("models")
        self.assertEqual((listed.returncode, listed.stdout.split()[0]), (0, ID))
        self.assertIn("Speech models need the library sherpa-onnx, which is not in", last_line(listed.stderr))

    def test_a_model_is_installed_listed_and_removed(self):
        installed = self.murmelo("models", "install", ID)
        self.assertEqual((installed.returncode, installed.stdout.strip()), (0, str(self.models / ID)))
        self.assertEqual(self.murmelo("models").stdout.split()[:2], ["*", ID])
        self.assertEqual(self.murmelo("models", "remove", ID).returncode, 0)
        self.assert_failed(self.murmelo("models", "remove", ID), f"The speech model “{ID}” is not installed.")

    def test_two_programs_at_once_download_it_once(self):
        both = [self.start("models", "install", ID) for _ in range(2)]
        for process in both:
            out, said = process.communicate(timeout=LIMIT)
            self.assertEqual((process.returncode, out.strip()), (0, str(self.models / ID)), said)
        self.assertEqual(self.server.requests, 1)

    def test_ctrl_c_ends_a_download_that_goes_on_the_next_time(self):
        self.server.limit = 5000
        process = self.start("models", "install", ID)
        part = self.models / f".{ID}.part"
        self.assertTrue(self.server.stalls.wait(LIMIT))
        wait_for(lambda: part.exists() and part.stat().st_size == 5000, "the first bytes")
        process.send_signal(signal.SIGINT)
        _, said = process.communicate(timeout=LIMIT)
        self.assertEqual((process.returncode, last_line(said)), (1, "The installation of the speech model was stopped."))
        self.assertFalse((self.models / ID).exists())
        self.server.limit = None
        self.assertEqual(self.murmelo("models", "install", ID).returncode, 0)

    def test_a_program_that_is_killed_leaves_nothing_in_the_way(self):
        self.server.limit = 5000
        process = self.start("models", "install", ID)
        self.assertTrue(self.server.stalls.wait(LIMIT))
        process.kill()
        process.communicate(timeout=LIMIT)
        self.server.limit = None
        self.assertEqual(self.murmelo("models", "install", ID).returncode, 0)
        self.assertEqual(sorted(file.name for file in self.models.iterdir()), [f".{ID}.lock", ID])


if __name__ == "__main__":
    main()

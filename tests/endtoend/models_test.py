#!/usr/bin/env python3
"""Speech models as a user meets them: the program beside workers of the test's making, and a server on this machine."""

import hashlib
import http.server
import io
import json
import os
import re
import shutil
import signal
import subprocess
import tarfile
import threading
import unittest

from program import LIMIT, SCRIPTS, TestCase, last_line, main, program_without_workers, run, silent_recording, wait_for

ID = "small-en"
# The library that the program wants, in the one version that it works with.
LIBRARY_VERSION = json.loads((SCRIPTS / "sherpa-onnx/package.json").read_text())["optionalDependencies"][
    "sherpa-onnx-linux-x64"]


def archive():
    """What is downloaded."""
    content = io.BytesIO()
    with tarfile.open(fileobj=content, mode="w:bz2") as tar:
        for name, data in (("small/tokens.txt", b"a 0\n"), ("small/model.onnx", os.urandom(100000))):
            entry = tarfile.TarInfo(name)
            entry.size = len(data)
            tar.addfile(entry, io.BytesIO(data))
    return content.getvalue()


class Server(http.server.ThreadingHTTPServer):
    """Gives out one file; with a limit it sends so much of it and then nothing more."""

    daemon_threads = True

    def __init__(self, content):
        self.content, self.limit, self.requests = content, None, 0
        self.stalls, self.ends = threading.Event(), threading.Event()
        super().__init__(("127.0.0.1", 0), Answer)
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def url(self):
        return f"http://127.0.0.1:{self.server_port}/small-en.tar.bz2"

    def end(self):
        self.ends.set()
        self.shutdown()
        self.server_close()


class Answer(http.server.BaseHTTPRequestHandler):
    def do_GET(self):  # the name that the library wants
        self.server.requests += 1
        begin = int(self.headers.get("Range", "bytes=0-")[6:-1])
        content = self.server.content[begin:]
        self.send_response(206 if begin else 200)
        self.send_header("Content-Length", str(len(content)))
        if begin:
            whole = len(self.server.content)
            self.send_header("Content-Range", f"bytes {begin}-{whole - 1}/{whole}")
        self.end_headers()
        self.wfile.write(content[:self.server.limit])
        if self.server.limit:
            self.server.stalls.set()
            self.server.ends.wait()

    def log_message(self, *_):
        pass


class SpeechModels(TestCase):
    def setUp(self):
        super().setUp()
        self.program = program_without_workers(self.work)
        self.make_worker("murmelo-speech-sherpa-onnx", "the model")
        self.make_worker("murmelo-speech-pocketsphinx", "the built-in engine")
        self.make(f"lib/murmelo/sherpa-onnx/{LIBRARY_VERSION}/libsherpa-onnx-c-api.so", "")
        self.server = Server(archive())
        self.addCleanup(self.server.end)
        self.write_catalogue(self.server.url())
        self.env = {"XDG_DATA_HOME": str(self.work / "data"), "LC_ALL": "en_US.UTF-8"}
        self.models = self.work / "data/murmelo/models"

    def make(self, name, content):
        file = self.work / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(content)
        return file

    def make_worker(self, name, words):
        self.make(f"libexec/{name}", f"#!/bin/sh\necho '{{\"start\": 1, \"end\": 2, \"text\": \"{words}\"}}'\n"
                                     "echo '{\"lastSampleTime\": 4}'\n").chmod(0o755)

    def write_catalogue(self, url):
        content = self.server.content
        self.make("share/murmelo/models.json", json.dumps({"models": [{
            "id": ID, "engine": "sherpa-onnx", "kind": "nemo_ctc", "locales": ["en_US"], "bytes": len(content),
            "sha256": hashlib.sha256(content).hexdigest(), "url": url, "archive": "tar.bz2", "licence": "MIT",
            "verified": True, "checksumSource": "this test"}]}))

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

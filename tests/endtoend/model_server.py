"""Speech models of a test's making: a server on this machine gives them out, and workers that are scripts use them."""

import hashlib
import http.server
import io
import json
import os
import tarfile
import threading

from program import SCRIPTS, program_without_workers

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
    """Gives out one file; with a limit it sends so much of it and then nothing more, and it may announce more."""

    daemon_threads = True

    def __init__(self, content):
        self.content, self.limit, self.announced, self.requests = content, None, None, 0
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
        self.send_header("Content-Length", str(self.server.announced or len(content)))
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


class WithModels:
    """Of a test case: a program in its folder, whose workers say which of them serves, and a model that it can have."""

    def set_up_models(self):
        self.program = program_without_workers(self.work)
        self.make_worker("murmelo-speech-sherpa-onnx", "the model")
        self.make_worker("murmelo-speech-pocketsphinx", "the built-in engine")
        self.make(f"lib/murmelo/sherpa-onnx/{LIBRARY_VERSION}/libsherpa-onnx-c-api.so", "")
        self.server = Server(archive())
        self.addCleanup(self.server.end)
        self.write_catalogue(self.server.url())
        self.models_env = {"XDG_DATA_HOME": str(self.work / "data"), "LC_ALL": "en_US.UTF-8"}

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
        size = self.server.announced or len(content)
        self.make("share/murmelo/models.json", json.dumps({"models": [{
            "id": ID, "engine": "sherpa-onnx", "kind": "nemo_ctc", "locales": ["en_US"], "bytes": size,
            "sha256": hashlib.sha256(content).hexdigest(), "url": url, "archive": "tar.bz2", "licence": "MIT",
            "verified": True, "checksumSource": "this test"}]}))

#!/usr/bin/env python3
"""Plays recordings in Chromium, through an audio element and through decodeAudioData, and compares their lengths with
what “murmelo recover” says. By hand, because the browser is large: needs the package chromium and no sound.

    MURMELO_PROGRAM=build/dev/murmelo chromium_playback.py FOLDER...
"""

import http.server
import json
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import threading

PACKET = 1024  # frames
PAGE = """<!doctype html><script>
const happens = (target, name) => new Promise((resolve, reject) => {
  target.addEventListener(name, resolve, {once: true});
  target.addEventListener('error', () => reject(target.error.message), {once: true});
});
async function play(number) {
  const bytes = await (await fetch('/' + number)).arrayBuffer();
  const audio = new Audio(URL.createObjectURL(new Blob([bytes], {type: 'audio/mp4'})));
  await happens(audio, 'loadedmetadata');
  const announced = audio.duration;
  audio.muted = true;
  audio.playbackRate = 16;
  const ended = happens(audio, 'ended');
  await audio.play();
  await ended;
  const decoded = await new OfflineAudioContext(2, 1, 48000).decodeAudioData(bytes);
  return {announced: String(announced), played: audio.currentTime, decoded: decoded.length};
}
(async () => {
  const results = [];
  for (let number = 0; number < COUNT; ++number)
    results.push(await play(number).catch(error => ({error: String(error)})));
  await fetch('/', {method: 'POST', body: JSON.stringify(results)});
})();
</script>"""


def serve(paths):
    """A server of the page and the files, and what the page has sent when the event is set."""
    results, arrived = [], threading.Event()

    class Handler(http.server.BaseHTTPRequestHandler):
        def do_GET(self):
            name = self.path[1:]
            page = PAGE.replace("COUNT", str(len(paths))).encode()
            self.answer(page if not name else paths[int(name)].read_bytes() if name.isdigit() else b"",
                        "text/html" if not name else "audio/mp4")

        def do_POST(self):
            results.extend(json.loads(self.rfile.read(int(self.headers["Content-Length"]))))
            self.answer(b"", "text/plain")
            arrived.set()

        def answer(self, body, kind):
            self.send_response(200)
            self.send_header("Content-Type", kind)
            self.send_header("Content-Length", str(len(body)))
            self.end_headers()
            self.wfile.write(body)

        def log_message(self, *_):
            pass

    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server, results, arrived


def ask_chromium(paths):
    server, results, arrived = serve(paths)
    with tempfile.TemporaryDirectory(prefix="murmelo-chromium-") as home:
        browser = subprocess.Popen(
            ["chromium", "--headless=new", "--disable-gpu", "--mute-audio", "--no-first-run", f"--user-data-dir={home}",
             "--autoplay-policy=no-user-gesture-required", *(["--no-sandbox"] if os.geteuid() == 0 else []),
             f"http://127.0.0.1:{server.server_port}/"],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            if not arrived.wait(60 + 5 * len(paths)):
                sys.exit("Chromium did not answer.")
        finally:
            browser.terminate()
            browser.wait()
            server.shutdown()
    return results


def main():
    program = os.environ.get("MURMELO_PROGRAM", "murmelo")
    listed = json.loads(subprocess.run([program, "recover", "--dry-run", "--json", *sys.argv[1:]], check=True,
                                       stdout=subprocess.PIPE).stdout)
    # One without sound has no length for Chromium: nothing to compare.
    listed = [entry for entry in listed if entry["seconds"] > 0]
    results = ask_chromium([pathlib.Path(entry["path"]) for entry in listed])
    worst = {"announced": [0.0], "played": [0.0], "decoded": [0.0]}
    unplayable, unequal = [], []
    for entry, result in zip(listed, results):
        if "error" in result:
            unplayable.append(f"{entry['path']} ({entry['state']}, {entry['seconds']:.3f} s): {result['error']}")
            continue
        heard = {"announced": float(result["announced"]), "played": result["played"], "decoded": result["decoded"] / 48000}
        for kind, seconds in heard.items():
            worst[kind].append(abs(seconds - entry["seconds"]))
            if worst[kind][-1] > PACKET / 48000 + 0.001:
                unequal.append(f"{entry['path']} ({entry['state']}, {entry['seconds']:.3f} s): {kind} {seconds:.3f} s")
    print(*unplayable, *unequal, sep="\n")
    print(f"{len(listed)} files, {len(unplayable)} not played, {len(unequal)} lengths off by more than a packet; largest "
          "difference in ms: " + ", ".join(f"{kind} {max(values) * 1000:.1f}" for kind, values in worst.items()))
    sys.exit(1 if unplayable or unequal else 0)


if __name__ == "__main__":
    main()

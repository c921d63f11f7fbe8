#!/usr/bin/python3
"""The download that the first transcript on a desktop begins. Inside a private session with bus and desktop."""

import re
import subprocess

from bubbles import Bubbles
from desktop_case import DesktopTest
from model_server import ID, WithModels
from program import LIMIT, main, wait_for


class Download(WithModels, DesktopTest):
    @classmethod
    def setUpClass(cls):
        cls.bubbles = Bubbles()

    def setUp(self):
        super().setUp()
        self.set_up_models()
        self.env |= self.models_env
        self.settings("onboarded=true", "transcribe=true")
        self.bubbles.texts.clear()
        self.bubbles.actions.clear()

    def launch_copy(self):
        """The program beside this test's workers."""
        with (self.work / "log").open("w") as log:
            program = subprocess.Popen([self.program], env=self.env, stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        self.addCleanup(self.end, program)

    def record(self):
        """A second of sound. Returns the recording's folder."""
        self.start_recording()
        self.wait_for_status("Recording: 00:01")
        self.toggle()
        self.wait_for_status("Not recording")
        return self.recordings()[-1]

    def wait_for_bubble(self, pattern):
        wait_for(lambda: any(re.fullmatch(pattern, text) for text in self.bubbles.texts), f"the bubble “{pattern}”")

    def wait_for_transcript(self, recording, words):
        wait_for((recording / "transcript.txt").exists, "the transcript")
        self.assertEqual((recording / "transcript.txt").read_text(), f"[00:01] You: {words}\n[00:01] Audio: {words}")

    def test_the_first_transcript_tells_of_the_download_and_its_end(self):
        self.launch_copy()
        self.wait_for_transcript(self.record(), "the model")
        self.wait_for_bubble(rf"{ID}, 0\.1 MB")
        self.assertTrue(any(re.fullmatch(rf"{ID}, 0\.1 MB: .+", text) for text in self.bubbles.texts), self.bubbles.texts)
        self.assertNotIn("cancel", sum(self.bubbles.actions, []))

    def test_a_large_download_can_be_cancelled_and_the_built_in_recogniser_serves(self):
        self.server.limit, self.server.announced = 5000, 300_000_000
        self.write_catalogue(self.server.url())
        self.launch_copy()
        recording = self.record()
        self.wait_for_bubble(rf"{ID}, 300 MB: 0 %")
        self.assertEqual(self.bubbles.actions[-1], ["cancel", "Cancel"])
        self.assertTrue(self.server.stalls.wait(LIMIT))
        self.bubbles.press("cancel")
        self.wait_for_transcript(recording, "the built-in engine")
        self.assertEqual((self.work / f"data/murmelo/models/.{ID}.part").stat().st_size, 5000)
        self.assertEqual(self.server.requests, 1, "the second track began no other")


if __name__ == "__main__":
    main()

#!/usr/bin/python3
"""The whole program on a desktop, as a user without a mouse meets it. Inside a private session with bus and desktop."""

import os
import re
import signal
import subprocess
import time
from urllib.parse import unquote

from desktop_case import FIRST_RUN, PANEL, DesktopTest
from program import LIMIT, SCRIPTS, main, run, wait_for

SAID = "When does the meeting begin tomorrow?"
PLAYED = "The meeting will begin at nine in the morning."


class FirstRun(DesktopTest):
    def spoken(self, text, voice):
        sound = self.work / f"{voice}.wav"
        subprocess.run(["flite", "-voice", voice, "-t", text, "-o", sound], check=True)
        return sound

    def play_for_good(self, *command):
        process = subprocess.Popen(["sh", "-c", 'while "$@"; do :; done', "sh", *command], start_new_session=True)
        self.addCleanup(process.wait)
        self.addCleanup(os.killpg, process.pid, signal.SIGKILL)
        return process

    def level(self, meter):
        found = re.match(r"(\d+) %", self.desktop.description("progress bar", meter))
        return int(found[1]) if found else 0

    def add_microphone(self, name, description):
        module = subprocess.run(["pactl", "load-module", "module-null-sink", "media.class=Audio/Source/Virtual",
                                 f"sink_name={name}", "channel_map=mono",
                                 f"sink_properties=node.description='{description}'"],
                                check=True, capture_output=True, text=True).stdout.strip()
        self.addCleanup(subprocess.run, ["pactl", "unload-module", module], check=False)

    def test_from_the_first_start_to_the_transcript(self):
        you, audio = self.spoken(SAID, "rms"), self.spoken(PLAYED, "slt")
        self.add_microphone("second_microphone", "Second")
        program = self.launch()

        # The first-run window, which the panel waits for: sound has no lock here, but has to be heard.
        self.desktop.press("push button", "Grant", FIRST_RUN)
        self.desktop.find("label", "Granted — capture verified.", FIRST_RUN)
        self.assertEqual(self.active_window(), FIRST_RUN)
        self.assertFalse(self.desktop.shows("push button", "Start Recording"))
        subprocess.run(["xdotool", "key", "Return"], check=True)
        wait_for(lambda: not self.desktop.shows("push button", "Done"), "the end of the first-run window")
        self.assertIn("onboarded=true", self.stored())

        # The panel, which opens by itself where there is no tray. Its meters move by themselves, too.
        self.desktop.find("push button", "Start Recording", PANEL)
        self.assertEqual(self.desktop.description("combo box", "Microphone"), "Virtual Microphone")
        self.play_for_good("pw-play", audio)
        speaking = self.play_for_good(SCRIPTS / "private-session", "speak", you)
        wait_for(lambda: self.level("Microphone level") > 0, "the movement of the microphone's meter")
        wait_for(lambda: self.level("System audio level") > 0, "the movement of the system's meter")
        os.killpg(speaking.pid, signal.SIGKILL)

        # Another microphone, which nobody speaks into, and back.
        for name, identifier in (("Second", "second_microphone"), ("Virtual Microphone", "virtual_microphone")):
            self.desktop.press("combo box", "Microphone", PANEL)
            self.desktop.press("list item", name)
            wait_for(lambda: self.desktop.description("combo box", "Microphone") == name, f"the choice of {name}")
            wait_for(lambda: f"micID={identifier}" in self.stored(), f"the storing of {name}")

        self.desktop.press("check box", "Transcript", PANEL)
        self.desktop.press("push button", "Start Recording", PANEL)
        wait_for(lambda: self.desktop.shows("push button", "Stop"), "the recording")
        self.play_for_good(SCRIPTS / "private-session", "speak", you)
        for elapsed in ("00:02", "00:04", "00:06"):
            wait_for(lambda: self.desktop.description("push button", "Stop") == elapsed, elapsed)
        self.desktop.press("push button", "Stop", PANEL)
        self.desktop.find("push button", "Start Recording", PANEL)

        self.desktop.press("push button", "Transcript", PANEL)
        wait_for(self.opened.exists, "the opening of the transcript")
        folder, = self.recordings()
        self.assertEqual(unquote(self.opened.read_text().strip()), f"file://{folder}/transcript.txt")
        self.assert_whole(folder)
        text = (folder / "transcript.txt").read_text()
        self.assertRegex(text, r"(?m)^\[00:0\d\] You: .*meeting begin")
        self.assertRegex(text, r"(?m)^\[00:0\d\] Audio: .*nine in the morning")

        self.desktop.press("push button", "Quit", PANEL)
        self.assertEqual(program.wait(timeout=LIMIT), 0)
        self.assert_nothing_left()


class RunningProgram(DesktopTest):
    def setUp(self):
        super().setUp()
        self.settings("onboarded=true")
        self.program = self.launch()
        self.desktop.find("push button", "Start Recording", PANEL)

    def press_key(self, key):
        """Where the keyboard is: the window that was opened last has it."""
        wait_for(lambda: self.active_window() == PANEL, "the panel's getting the keyboard")
        subprocess.run(["xdotool", "key", key], check=True)

    def test_a_key_can_be_bound_to_its_recording(self):
        self.assertEqual(self.status()[0], "Not recording")
        self.toggle()
        self.wait_for_status("Recording: 00:0")
        time.sleep(1)  # of sound
        self.toggle()
        self.wait_for_status("Not recording")
        folder, = self.recordings()
        self.assertEqual(self.status()[2], f"Last recording: {folder}")
        self.assert_whole(folder)

    def test_a_second_start_shows_the_first_one(self):
        self.press_key("Escape")
        wait_for(lambda: not self.desktop.shows("push button", "Start Recording"), "the closing of the panel")
        second = run(env=self.env)
        self.assertEqual((second.returncode, second.stdout), (0, ""))
        self.desktop.find("push button", "Start Recording", PANEL)
        self.assertIsNone(self.program.poll())

    def test_escape_closes_the_panel_and_ctrl_q_quits(self):
        self.press_key("Escape")
        wait_for(lambda: not self.desktop.shows("push button", "Start Recording"), "the closing of the panel")
        run(env=self.env)
        self.desktop.find("push button", "Start Recording", PANEL)
        self.press_key("ctrl+q")
        self.assertEqual(self.program.wait(timeout=LIMIT), 0)

    def test_a_lost_session_bus_does_not_touch_the_recording(self):
        bus = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address=1"], text=True,
                               stdout=subprocess.PIPE, stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(bus.stdout.close)
        self.addCleanup(bus.wait)
        self.addCleanup(bus.kill)
        self.env["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().strip()
        program = self.launch()
        self.start_recording()
        time.sleep(1.5)  # of sound
        bus.kill()
        time.sleep(1)  # of sound without a bus
        program.send_signal(signal.SIGTERM)
        self.assertEqual(program.wait(timeout=LIMIT), 0)
        self.assert_whole(self.recordings()[0])


class StartedAgain(DesktopTest):
    def test_a_start_while_the_program_is_ending_waits_and_then_appears(self):
        first = self.launch_and_end_slowly()
        second = self.launch()
        self.wait_for_status("Not recording")
        self.assertEqual(first.poll(), 0)
        self.assertIsNone(second.poll())
        self.desktop.find("push button", "Start Recording", PANEL)

    def test_a_start_beside_an_end_that_does_not_come_says_so_and_fails(self):
        first = self.launch_and_end_slowly()
        first.send_signal(signal.SIGSTOP)
        self.assert_failed(run(env=self.env),
                           "Murmelo is still closing the files of its last run. Start it again in a moment.")
        first.send_signal(signal.SIGCONT)
        self.assertEqual(first.wait(timeout=LIMIT), 0)

    def test_a_start_beside_a_program_that_stands_still_says_so_and_fails(self):
        self.settings("onboarded=true")
        first = self.launch()
        self.wait_for_status("Not recording")
        first.send_signal(signal.SIGSTOP)
        self.assert_failed(run(env=self.env), "Murmelo is running already, but it does not answer.")
        first.send_signal(signal.SIGCONT)
        self.wait_for_status("Not recording")


class LostScreen(DesktopTest):
    def test_the_files_are_closed(self):
        self.settings("onboarded=true")
        reading, writing = os.pipe()
        screen = subprocess.Popen(["Xvfb", "-displayfd", str(writing), "-nolisten", "tcp"], pass_fds=(writing,),
                                  stderr=subprocess.DEVNULL)
        self.addCleanup(screen.wait)
        self.addCleanup(screen.kill)
        os.close(writing)
        with os.fdopen(reading) as number:
            self.env["DISPLAY"] = f":{number.readline().strip()}"
        program = self.launch()
        self.start_recording()
        time.sleep(2)  # of sound
        screen.kill()
        self.assertEqual(program.wait(timeout=LIMIT), 1, "it exits, and does not crash")
        self.assert_whole(self.recordings()[0])
        self.assert_nothing_left()


if __name__ == "__main__":
    main()

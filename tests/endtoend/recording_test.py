#!/usr/bin/env python3
"""“murmelo record” and “murmelo mics” as a user meets them."""

import json
import os
import pathlib
import re
import shutil
import signal
import stat
import subprocess
import time

from program import LIMIT, PROGRAM, Logind, Recording, TestCase, decoded_frames, last_line, main, run, run_on_terminal, \
    wait_for

NO_MICROPHONE = "No microphone was found. Is one connected, and is the sound server (PipeWire) running?"
FILES = ["voice.m4a", "system.m4a", "mix.m4a"]
NO_SERVER = {"PIPEWIRE_RUNTIME_DIR": "/nonexistent", "XDG_RUNTIME_DIR": "/nonexistent"}


class Usage(TestCase):
    def assert_usage(self, sentence, *arguments):
        result = run(*arguments)
        self.assertEqual(result.stderr, sentence + "\nTry “murmelo --help”.\n")
        self.assertEqual((result.returncode, result.stdout), (2, ""))

    def test_help_names_every_subcommand(self):
        result = run("--help")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        for word in ["murmelo record", "murmelo transcribe", "murmelo recover", "murmelo mics", "murmelo toggle",
                     "murmelo status", "--json", "--verbose", "--seconds", "--folder"]:
            self.assertIn(word, result.stdout)

    def test_version_is_one_line(self):
        self.assertRegex(run("--version").stdout, r"\Amurmelo \d+\.\d+\.\d+\n\Z")

    def test_wrong_usage_is_named_with_status_2(self):
        self.assert_usage("Murmelo does not know “sing”.", "sing")
        self.assert_usage("“--loud” is no option of “record”.", "record", "--loud")
        self.assert_usage("The option “--seconds” needs a value.", "record", "--seconds")
        self.assert_usage("“record” does not know what to do with “x”.", "record", "x")
        self.assert_usage("“mics” takes no names.", "mics", "x")
        self.assert_usage("Which recording? Name its folder.", "transcribe")
        self.assert_usage("Which recording? Name its folder.", "transcribe", "a", "b")
        for number in ["0", "-1", "x", "1x", "nan", "inf", "1e99", ""]:
            self.assert_usage("“--seconds” takes a number above 0.", "record", f"--seconds={number}")
        self.assert_usage("“--folder” takes the name of a folder.", "record", "--folder=")

    def test_without_a_desktop_it_says_so_instead_of_running_unseen(self):
        self.assert_failed(run(), "There is no desktop here to appear on. “murmelo record” records on the terminal.")

    def test_closed_standard_output_is_a_failure(self):
        for arguments in (["--help"], ["mics"]):
            with open("/dev/full", "w") as full:
                result = subprocess.run([PROGRAM, *arguments], stdout=full, stderr=subprocess.PIPE, text=True)
            self.assertEqual((result.returncode, last_line(result.stderr)),
                             (1, "Could not write to standard output: No space left on device."))


class Microphones(TestCase):
    def test_list_marks_the_automatic_choice(self):
        self.assertEqual(run("mics").stdout, "* virtual_microphone  Virtual Microphone\n")

    def test_list_for_scripts(self):
        self.assertEqual(json.loads(run("mics", "--json").stdout),
                         [{"id": "virtual_microphone", "name": "Virtual Microphone", "automatic": True}])

    def test_without_sound_server_none_is_found(self):
        self.assert_failed(run("mics", env=NO_SERVER), NO_MICROPHONE)
        self.assertEqual(json.loads(run("mics", "--json", env=NO_SERVER).stdout), [])


class Recordings(TestCase):
    def test_for_some_seconds_prints_the_three_paths(self):
        folder = self.work / "a/b c/ü"
        result = run("record", "--seconds", "1.5", "--folder", folder)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(result.stdout.splitlines(), [str(folder / name) for name in FILES])
        self.assertEqual(sorted(p.name for p in folder.iterdir()), sorted(FILES))
        frames = {name: decoded_frames(folder / name) for name in FILES}
        self.assertEqual(frames["voice.m4a"], frames["mix.m4a"])
        self.assertGreaterEqual(frames["voice.m4a"], 1.4 * 48000)
        self.assertGreaterEqual(frames["system.m4a"], 1.4 * 48000)  # silence, but there
        self.assert_nothing_left()

    def test_log_tells_the_whole_story_in_order(self):
        result = run("record", "--verbose", "--seconds", "3.5", "--folder", self.work / "r")
        expected = [r"\[rec\] capture session configured for Virtual Microphone preview=false",
                    r"\[rec\] startRunning took \d+\.\d\ds running=true",
                    r"\[rec\] first MIC callback",
                    r"\[rec\] mic delivering after 0\.\ds callbacks=[1-9]\d*",
                    r"\[rec\] tap create status=0 id=[1-9]\d*",
                    r"\[rec\] sys agg status=0 id=[1-9]\d*",
                    r"\[rec\] sys ioproc=0 start=0",
                    r"\[rec\] first SYSTEM callback",
                    r"\[rec\] 3s: micCallbacks=[1-9]\d* sysCallbacks=[1-9]\d* \(sys 0 = silence\)",
                    r"\[rec\] stopped; micCallbacks=[1-9]\d* sysCallbacks=[1-9]\d*",
                    r"\[rec\] recording without protection from sleep: No such file or directory"]
        # the first microphone block may come before start has logged how long it took
        self.assertEqual(len(result.stderr.splitlines()), len(expected), result.stderr)
        for line in expected:
            self.assertRegex(result.stderr, re.compile(f"^{line}$", re.MULTILINE))
        log = pathlib.Path(os.environ["HOME"], "Music/Murmelo/debug.log").read_text()
        for line in result.stderr.splitlines():
            self.assertRegex(log, r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d \+0000 " + re.escape(line))

    def test_result_for_scripts(self):
        result = run("record", "--seconds=1", "--json", "--folder", self.work / "r")
        self.assertEqual(json.loads(result.stdout),
                         {name.split(".")[0]: str(self.work / "r" / name) for name in FILES})

    def test_without_folder_goes_into_a_new_one_below_the_music_folder(self):
        result = run("record", "--seconds=1")
        self.assertRegex(result.stdout.splitlines()[0],
                         re.escape(os.environ["HOME"]) + r"/Murmelo/recording-\d{4}-\d\d-\d\d-\d{6}/voice\.m4a")

    def test_relative_folder_is_printed_as_an_absolute_one(self):
        result = run("record", "--seconds=1", "--folder", "here", cwd=self.work)
        self.assertEqual(result.stdout.splitlines()[0], str(self.work / "here/voice.m4a"))

    def test_termination_signals_stop_in_order(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            folder = self.work / number.name
            recording = Recording("--folder", folder, log=self.work / "log")
            out = recording.until_said("first SYSTEM callback").end(number)
            self.assertEqual(recording.process.returncode, 0)
            self.assertEqual(len(out.splitlines()), 3)
            self.assertEqual(decoded_frames(folder / "voice.m4a"), decoded_frames(folder / "mix.m4a"))
        self.assert_nothing_left()

    def test_terminal_shows_levels_and_time_and_no_line_of_the_log(self):
        shown = run_on_terminal(PROGRAM, "record", "--seconds=1", "--folder", self.work / "r")
        self.assertIn("\r\x1b[KRecording 00:00  You ", shown)
        self.assertNotIn("\n", shown)

    def test_terminal_shows_levels_and_time_below_the_log_when_it_is_asked_for(self):
        shown = run_on_terminal(PROGRAM, "record", "--seconds=1", "--verbose", "--folder", self.work / "r")
        self.assertIn("\r\x1b[KRecording 00:00  You ", shown)
        self.assertIn("\r\x1b[K[rec] stopped;", shown)

    def test_says_nothing_but_its_result_and_the_file_has_the_log_all_the_same(self):
        result = run("record", "--seconds=1", "--folder", self.work / "r", env={"HOME": str(self.work)})
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertIn(" [rec] stopped; ", (self.work / "Music/Murmelo/debug.log").read_text())

    def test_every_subcommand_takes_verbose(self):
        for arguments in (["mics"], ["models"], ["recover", self.work], ["status"], ["toggle"],
                          ["transcribe", self.work]):
            self.assertNotEqual(run(*arguments, "--verbose").returncode, 2, arguments)

    def test_result_that_cannot_be_printed_leaves_the_recording_whole(self):
        with open("/dev/full", "w") as full:
            recording = Recording("--seconds=1", "--folder", self.work / "r", log=self.work / "log", stdout=full)
            self.assertEqual(recording.process.wait(LIMIT), 1)
        self.assertEqual(last_line(recording.log.read_text()),
                         "Could not write to standard output: No space left on device.")
        self.assertEqual(decoded_frames(self.work / "r/voice.m4a"), decoded_frames(self.work / "r/mix.m4a"))


class Privacy(TestCase):
    """What is made is for its owner alone, whatever the umask."""

    def modes(self, place):
        """Of all that is below it: relative path -> permissions."""
        return {str(path.relative_to(place)): stat.S_IMODE(path.stat().st_mode) for path in place.rglob("*")}

    def assert_private(self, place, files):
        modes = self.modes(place)
        self.assertEqual({path for path in modes if (place / path).is_file()}, set(files))
        for path, mode in modes.items():
            self.assertEqual(oct(mode), oct(0o700 if (place / path).is_dir() else 0o600), path)

    def test_recording_and_log(self):
        for umask in (0, 0o077):
            home = self.work / f"home {umask}"
            home.mkdir(mode=0o755)
            home.chmod(0o755)
            result = run("record", "--seconds=1", umask=umask, env={"HOME": str(home), "XDG_CONFIG_HOME": str(home)})
            self.assertEqual(result.returncode, 0, result.stderr)
            recording = pathlib.Path(result.stdout.splitlines()[0]).parent.relative_to(home)
            self.assert_private(home, [*(str(recording / name) for name in FILES), "Music/Murmelo/debug.log"])
            self.assertEqual(stat.S_IMODE(home.stat().st_mode), 0o755)

    def test_recording_that_was_killed_and_recovered(self):
        for umask in (0, 0o077):
            place = self.work / f"place {umask}"
            recording = Recording("--folder", place / "r", log=self.work / "log", umask=umask)
            recording.until_said("[rec] 3s:").end(signal.SIGKILL)
            recovered = run("recover", place, umask=umask)
            self.assertEqual((recovered.stdout.count("mended"), recovered.stderr), (3, ""))
            self.assert_private(place, [f"r/{name}" for name in FILES])

    def test_folder_that_exists_keeps_its_mode(self):
        folder = self.work / "r"
        folder.mkdir()
        folder.chmod(0o755)
        self.assertEqual(run("record", "--seconds=1", "--folder", folder, umask=0).returncode, 0)
        self.assertEqual(oct(stat.S_IMODE(folder.stat().st_mode)), oct(0o755))
        self.assert_private(folder, FILES)

    def test_recordings_of_earlier_versions_are_left_as_they_are_and_counted(self):
        folder = self.work / "r"
        self.assertEqual(run("record", "--seconds=1", "--folder", folder).returncode, 0)
        folder.chmod(0o755)
        for name in FILES:
            (folder / name).chmod(0o644)
        before = self.modes(self.work)
        said = run("recover", self.work).stderr
        self.assertEqual(said, f"One recording can be read by other users; to change that: chmod -R go= '{folder}'\n")
        self.assertEqual(self.modes(self.work), before)


class Endings(TestCase):
    SIGNALS = (signal.SIGTERM, signal.SIGINT, signal.SIGHUP)

    def end_impatiently(self, process):
        """One signal after the other until the process is gone."""
        count = 0
        while process.poll() is None:
            process.send_signal(self.SIGNALS[count % 3])
            count += 1
        return count

    def test_storm_of_signals_tears_nothing(self):
        for attempt in range(5):
            folder = self.work / str(attempt)
            recording = Recording("--folder", folder, log=self.work / "log")
            recording.until_said("first SYSTEM callback")
            self.assertGreater(self.end_impatiently(recording.process), 2)
            out, _ = recording.process.communicate(timeout=LIMIT)
            self.assertEqual((recording.process.returncode, len(out.splitlines())), (0, 3))
            self.assert_whole(folder)
        self.assert_nothing_left()

    def test_storm_of_signals_during_the_start_leaves_whole_files_or_none(self):
        for attempt in range(10):
            folder = self.work / str(attempt)
            recording = Recording("--folder", folder, log=self.work / "log")
            recording.until_said("[rec]")  # the start has begun; how far it comes differs
            time.sleep(attempt / 50)
            self.end_impatiently(recording.process)
            recording.process.communicate(timeout=LIMIT)
            self.assertIn(recording.process.returncode, (0, 1))
            found = json.loads(run("recover", "--json", "--dry-run", folder).stdout)
            self.assertEqual({file["state"] for file in found} - {"whole"}, set())
        self.assert_nothing_left()


class TwoPrograms(TestCase):
    def test_record_at_once_into_two_folders(self):
        folders = [self.work / "one", self.work / "two"]
        both = [Recording("--folder", folder, log=self.work / f"{folder.name} log") for folder in folders]
        for recording in both:
            recording.until_said("[rec] 3s:")
        for recording, folder in zip(both, folders):
            recording.end()
            self.assertEqual(recording.process.returncode, 0)
            self.assert_whole(folder)
            for name in FILES:
                self.assertGreater(decoded_frames(folder / name), 2.5 * 48000)
        self.assert_nothing_left()

    def test_cannot_record_into_the_same_folder(self):
        folder = self.work / "r"
        first = Recording("--folder", folder, log=self.work / "log").until_said("first SYSTEM callback")
        self.assert_failed(run("record", "--seconds=1", "--folder", folder),
                           "Could not create the recording files: File exists")
        first.end()
        self.assertEqual(first.process.returncode, 0)
        self.assert_whole(folder)

    def test_recovery_beside_a_recording_touches_nothing(self):
        folder = self.work / "r"
        recording = Recording("--folder", folder, log=self.work / "log").until_said("first SYSTEM callback")
        for _ in range(20):
            found = json.loads(run("recover", "--json", folder).stdout)
            self.assertEqual([file["state"] for file in found], ["in use"] * 3)
        recording.end()
        self.assertEqual(recording.process.returncode, 0)
        self.assert_whole(folder)


class Sleep(TestCase):
    def setUp(self):
        super().setUp()
        self.logind = Logind()
        self.addCleanup(self.logind.end)

    def test_files_hold_everything_before_the_computer_sleeps_and_the_recording_goes_on(self):
        folder = self.work / "r"
        recording = Recording("--folder", folder, log=self.work / "log", env=self.logind.env)
        self.assertEqual(self.logind.said(), "guarded")
        recording.until_said("first SYSTEM callback")
        before = decoded_frames(folder / "voice.m4a")
        for sleep in range(3):
            self.logind.order("sleep")
            self.assertEqual(self.logind.said(), "released")
            asleep = self.work / f"asleep {sleep}"
            shutil.copytree(folder, asleep)
            self.logind.order("wake")
            self.assertEqual(self.logind.said(), "guarded")
            run("recover", asleep)
            self.assert_whole(asleep)
            now = decoded_frames(asleep / "voice.m4a")
            self.assertGreater(now, before)  # in less than the second after which a file grows by itself
            before = now
        recording.end()
        self.assertEqual(recording.process.returncode, 0)
        self.assertEqual(self.logind.said(), "released")
        self.assert_whole(folder)
        self.assertGreater(decoded_frames(folder / "voice.m4a"), before)
        self.assertNotIn("sleep", recording.log.read_text())

    def test_recording_goes_on_without_the_system_bus(self):
        recording = Recording("--folder", self.work / "r", log=self.work / "log", env=self.logind.env)
        self.assertEqual(self.logind.said(), "guarded")
        recording.until_said("first SYSTEM callback")
        self.logind.end()
        recording.until_said("[rec] recording without protection from sleep: ").end()
        self.assertEqual(recording.process.returncode, 0)
        self.assertEqual(recording.log.read_text().count("sleep"), 1)
        self.assert_whole(self.work / "r")


class Kills(TestCase):
    def test_killed_recording_is_mended_to_its_last_second(self):
        folder = self.work / "r"
        recording = Recording("--folder", folder, log=self.work / "log").until_said("[rec] 3s:")
        self.assertEqual(json.loads(run("recover", "--json", folder).stdout)[0]["state"], "in use")
        recording.end(signal.SIGKILL)
        mended = json.loads(run("recover", "--json", folder).stdout)
        self.assertEqual([(pathlib.Path(file["path"]).name, file["state"]) for file in mended],
                         [(name, "mended") for name in FILES])
        for file in mended:
            self.assertGreater(file["seconds"], 1.5)
            self.assertEqual(decoded_frames(file["path"]), round(file["seconds"] * 48000))
        again = json.loads(run("recover", "--json", folder).stdout)
        self.assertEqual([file["state"] for file in again], ["whole"] * 3)


class Failures(TestCase):
    def test_no_sound_server(self):
        self.assert_failed(run("record", "--folder", self.work / "r", env=NO_SERVER), NO_MICROPHONE)
        self.assertFalse((self.work / "r").exists())

    def test_no_sound_server_but_a_microphone_asked_for(self):
        self.assert_failed(run("record", "--mic", "x", "--folder", self.work / "r", env=NO_SERVER),
                           "Microphone “x” is not available. Is it connected?")

    def test_unknown_microphone(self):
        self.assert_failed(run("record", "--mic", "no such", "--folder", self.work / "r"),
                           "Microphone “no such” is not available. Is it connected?")
        self.assertFalse((self.work / "r").exists())
        self.assert_nothing_left()

    def test_loudspeaker_is_no_microphone(self):
        self.assert_failed(run("record", "--mic", "virtual_loudspeaker", "--folder", self.work / "r"),
                           "Microphone “virtual_loudspeaker” is not available. Is it connected?")

    def test_folder_that_cannot_be_created(self):
        (self.work / "file").write_text("")
        self.assert_failed(run("record", "--folder", self.work / "file/below"),
                           "Could not create the recording files: Not a directory")
        self.assert_nothing_left()

    def test_folder_that_holds_a_recording_keeps_it(self):
        folder = self.work / "r"
        run("record", "--seconds=1", "--folder", folder)
        before = {name: (folder / name).read_bytes() for name in FILES}
        self.assert_failed(run("record", "--seconds=1", "--folder", folder),
                           "Could not create the recording files: File exists")
        self.assertEqual({name: (folder / name).read_bytes() for name in FILES}, before)

    def test_folder_that_cannot_be_written(self):
        (self.work / "r").mkdir(mode=0o500)
        command = [PROGRAM, "record", "--folder", self.work / "r"]
        if os.geteuid() == 0:  # without root's right to write everywhere
            command = ["setpriv", "--bounding-set=-dac_override,-dac_read_search", *command]
        self.assert_failed(run(*command[1:], program=command[0]),
                           "Could not create the recording files: Permission denied")


if __name__ == "__main__":
    main()

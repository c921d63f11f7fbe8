#pragma once

/// What “murmelo --help” prints.
inline constexpr const char* usageText =
    R"(Murmelo records what you hear and what you say, and writes it down. Nothing leaves this computer.

Usage:
  murmelo
      Starts the program on the desktop, or opens its panel when it runs already.
  murmelo record [--seconds N] [--mic ID] [--folder DIR] [--transcribe] [--json]
      Records until Ctrl+C, or for N seconds, into voice.m4a (your microphone), system.m4a (everything the
      computer plays) and mix.m4a (both), and prints their paths.
        --seconds N    stop by itself after N seconds
        --mic ID       record this microphone (see “murmelo mics”) instead of the automatic choice
        --folder DIR   record into DIR instead of a new folder below your music folder
        --transcribe   write transcript.txt beside the files and print its path too
  murmelo transcribe FOLDER [--json]
      Writes transcript.txt for the recording in FOLDER and prints its path.
  murmelo recover [FOLDER…] [--dry-run] [--json]
      Mends recordings whose program was killed or lost its power: those in the FOLDERs, or all in your music
      folder. With --dry-run it only looks. It never deletes, and never touches a file that is in use. It says how
      many recordings other users can read.
  murmelo mics [--json]
      Lists the microphones; the automatic choice is marked with *.
  murmelo models [--json]
      Lists the speech models that can be had; those that are installed are marked with *.
  murmelo models install ID [--from FILE]
      Downloads a speech model and installs it, or takes FILE for its download.
  murmelo models remove ID
      Removes a speech model.
  murmelo toggle
      Presses the record button of the program on the desktop. Made to be bound to a key.
  murmelo status [--json]
      Tells whether that one records, for how long, from which microphone, and where its last recording is.
  murmelo --help, murmelo --version

--json prints the result for scripts. Every subcommand takes --verbose, which shows the log on standard error;
the file debug.log has it in any case. Exit status: 0 done, 1 failed (the reason is the last line on standard
error), 2 wrong usage.
)";

// Composition root: the only place that names the real backends.

#include "base/thread_queue.h"
#include "cli/mics_command.h"
#include "cli/output.h"
#include "cli/record_command.h"
#include "cli/recover_command.h"
#include "cli/status_line.h"
#include "cli/termination_signals.h"
#include "cli/transcribe_command.h"
#include "cli/usage.h"
#include "platform/desktop/logind_sleep_guard.h"
#include "platform/media/aac_file_writer.h"
#include "platform/media/ffmpeg_log.h"
#include "platform/media/mp4_file_info.h"
#include "platform/media/mp4_recovery.h"
#include "platform/pipewire/connection.h"
#include "platform/pipewire/pipewire_devices.h"
#include "platform/pipewire/pipewire_mic_source.h"
#include "platform/pipewire/process_tap.h"
#include "platform/speech/worker_engine.h"

#include <csignal>
#include <filesystem>
#include <string>
#include <thread>

namespace {

std::filesystem::path executableFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

/// Sound: one connection to the server for all that capture or list devices.
struct Sound {
    explicit Sound(Notices& noticesOfRecordings) : notices(noticesOfRecordings) {}

    Notices& notices;
    PipeWireConnection connection;
    PipeWireDevices devices{connection};
    PipeWireMicSourceFactory mics{connection};
    ProcessTapFactory systemAudio{connection};
    AacFileWriterFactory files{[this](const std::string& sentence) { notices.tell(sentence); }};

    RecorderServices recorderServices(SerialQueue& timers) {
        return {mics,
                systemAudio,
                files,
                notices,
                [](std::string label) { return std::make_unique<ThreadQueue>(std::move(label)); },
                timers,
                [](std::chrono::milliseconds time) { std::this_thread::sleep_for(time); }};
    }
};

/// Recognition of speech.
struct Speech {
    explicit Speech(SerialQueue& timers) : transcriber(engine, audioFiles, timers, &Locale::current) {}

    WorkerEngine engine{workerProgram(executableFolder(), "murmelo-speech-pocketsphinx"),
                        MURMELO_SPEECH_MODEL};
    Mp4FileInfo audioFiles;
    Transcriber transcriber;
};

ExitStatus runSubcommand(const std::string& name, int argc, char** argv) {
    TerminationSignals signals; // before the first thread
    sendFfmpegLogToDebugLog();
    Mp4Recovery recovery;
    if (name == "recover") return recoverCommand(argc, argv, recovery);
    ThreadQueue timers("timers");
    if (name == "transcribe") {
        Speech speech(timers);
        return transcribeCommand(argc, argv, recovery, speech.transcriber, signals);
    }
    StatusLine line;
    Sound sound(line);
    sound.connection.connect(); // the devices answer from what it has seen
    if (name == "mics") return micsCommand(argc, argv, sound.devices);
    Speech speech(timers);
    LogindSleepGuard sleepGuard;
    return recordCommand(argc, argv, sound.devices, sound.recorderServices(timers), sleepGuard,
                         speech.transcriber, signals, line);
}

ExitStatus run(int argc, char** argv) {
    const std::string first = argc > 1 ? argv[1] : "";
    if (first == "--help" || first == "-h") return printResult(usageText);
    if (first == "--version") return printResult("murmelo " MURMELO_VERSION "\n");
    for (const char* name : {"record", "transcribe", "mics", "recover"})
        if (first == name) return runSubcommand(first, argc - 1, argv + 1);
    return reportUsage(first.empty() ? "What shall Murmelo do?" : "Murmelo does not know “" + first + "”.");
}

} // namespace

int main(int argc, char** argv) {
    // A reader that is gone, or a file that may not grow, is an error of the write and not our end.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    return static_cast<int>(run(argc, argv));
}

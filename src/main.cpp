// Composition root: the only place that names the real backends.

#include "application.h"
#include "backends.h"
#include "cli/mics_command.h"
#include "cli/output.h"
#include "cli/record_command.h"
#include "cli/recover_command.h"
#include "cli/status_line.h"
#include "cli/termination_signals.h"
#include "cli/transcribe_command.h"
#include "cli/usage.h"
#include "platform/media/ffmpeg_log.h"
#include "platform/media/mp4_recovery.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <string>

namespace {

ExitStatus runSubcommand(const std::string& name, int argc, char** argv, TerminationSignals& signals) {
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
    const std::unique_ptr<CaptureEngine> engine = sound.makeEngine(timers);
    return recordCommand(argc, argv, sound.devices, *engine, speech.transcriber, signals, line);
}

/// Until it has a window the application is of use to its self-tests only.
bool isSelfTest() {
    constexpr std::array variables{"TAPDECK_DIAG", "TAPDECK_TS", "TAPDECK_CHECK"};
    return std::any_of(variables.begin(), variables.end(),
                       [](const char* name) { return std::getenv(name) != nullptr; });
}

int run(int argc, char** argv) {
    const std::string first = argc > 1 ? argv[1] : "";
    const auto status = [](ExitStatus of) { return static_cast<int>(of); };
    if (first == "--help" || first == "-h") return status(printResult(usageText));
    if (first == "--version") return status(printResult("murmelo " MURMELO_VERSION "\n"));
    TerminationSignals signals; // before the first thread
    sendFfmpegLogToDebugLog();
    for (const char* name : {"record", "transcribe", "mics", "recover"})
        if (first == name) return status(runSubcommand(first, argc - 1, argv + 1, signals));
    if (first.empty() && isSelfTest()) return runApplication(argc, argv, signals);
    return status(
        reportUsage(first.empty() ? "What shall Murmelo do?" : "Murmelo does not know “" + first + "”."));
}

} // namespace

int main(int argc, char** argv) {
    // A reader that is gone, or a file that may not grow, is an error of the write and not our end.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    return run(argc, argv);
}

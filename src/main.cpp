// Composition root: the only place that names the real backends.

#include "application.h"
#include "backends.h"
#include "base/debug_log.h"
#include "base/error.h"
#include "base/job_threads.h"
#include "cli/arguments.h"
#include "cli/mics_command.h"
#include "cli/model_installation_job.h"
#include "cli/models_command.h"
#include "cli/output.h"
#include "cli/record_command.h"
#include "cli/recover_command.h"
#include "cli/status_command.h"
#include "cli/status_line.h"
#include "cli/termination_signals.h"
#include "cli/toggle_command.h"
#include "cli/transcribe_command.h"
#include "cli/usage.h"
#include "platform/desktop/bus_running_instance.h"
#include "platform/media/mp4_recovery.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QLoggingCategory>
#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>

namespace {

ExitStatus runSubcommand(const std::string& name, int argc, char** argv, TerminationSignals& signals) {
    Mp4Recovery recovery;
    if (name == "recover") return recoverCommand(argc, argv, recovery);
    LateModule late(executableFolder());
    if (name == "models") {
        const std::unique_ptr<ModelStore> models = makeModels(late);
        return modelsCommand(argc, argv, *models, sherpaWorker(executableFolder()).missingPart(), signals);
    }
    if (name == "toggle" || name == "status") {
        // Where the locale is not UTF-8 Qt would print a remark above our sentence. QT_LOGGING_RULES in the
        // environment overrides this.
        QLoggingCategory::setFilterRules(QStringLiteral("default.warning=false"));
        const QCoreApplication qt(argc, argv);
        BusRunningInstance running(QDBusConnection::sessionBus());
        return name == "toggle" ? toggleCommand(argc, argv, running) : statusCommand(argc, argv, running);
    }
    ThreadQueue timers("timers");
    StatusLine line;
    const auto onDownload = [&line](const Model& model, const std::optional<InstallationProgress>& progress) {
        line.show(progress ? installationText(model.id, *progress) : "");
    };
    RecordingMark recordings(RecordingMark::usualFile());
    if (name == "transcribe") {
        Speech speech(late, timers, recordings, {.waiting = onDownload});
        return transcribeCommand(argc, argv, recovery, speech.transcriber, signals, line);
    }
    Sound sound(late, line, recordings);
    sound.connection.connect(); // the devices answer from what it has seen
    if (name == "mics") return micsCommand(argc, argv, sound.devices);
    Speech speech(late, timers, recordings, {.waiting = onDownload});
    JobThreads jobs;
    const std::shared_ptr<CaptureEngine> engine = sound.makeEngine(timers);
    return recordCommand(argc, argv, sound.devices, engine, speech.transcriber, signals, line,
                         {.jobs = jobs,
                          .now = [&timers] { return timers.now(); },
                          .sleep = sleepFor,
                          .exit = [](ExitStatus status) { _exit(static_cast<int>(status)); }});
}

int run(int argc, char** argv) {
    const std::string first = argc > 1 ? argv[1] : "";
    const auto status = [](ExitStatus of) { return static_cast<int>(of); };
    if (first == "--help" || first == "-h") return status(printResult(usageText));
    if (first == "--version") return status(printResult("murmelo " MURMELO_VERSION "\n"));
    TerminationSignals signals; // before the first thread
    if (first.empty()) return status(runApplication(argc, argv, signals));
    for (const char* name : {"record", "transcribe", "mics", "models", "recover", "toggle", "status"}) {
        if (first != name) continue;
        if (!wantsLog(argc - 1, argv + 1)) DebugLog::replaceConsole({});
        try {
            return status(runSubcommand(first, argc - 1, argv + 1, signals));
        } catch (const Error& error) { // it could not even begin
            return status(reportFailure(error.localizedDescription()));
        }
    }
    return status(reportUsage("Murmelo does not know “" + first + "”."));
}

} // namespace

int main(int argc, char** argv) {
    // A reader that is gone, or a file that may not grow, is an error of the write and not our end.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    return run(argc, argv);
}

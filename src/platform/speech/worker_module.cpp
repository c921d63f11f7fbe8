#include "platform/speech/worker_module.h"

#include "base/debug_log.h"
#include "base/error.h"
#include "base/recording_files.h"
#include "platform/posix/child_process.h"
#include "platform/posix/regular_file.h"
#include "platform/speech/worker_run.h"

#include <utility>

namespace {

/// Of a recording's microphone track: what the computer played meanwhile. Nothing is open where there is
/// none.
FileHandle systemTrackBeside(const std::filesystem::path& file) {
    std::error_code ignored;
    const std::filesystem::path system = file.parent_path() / systemFileName;
    if (file.filename() != voiceFileName || !std::filesystem::exists(system, ignored)) return {};
    try {
        return openRegularFile(system);
    } catch (const Error& error) {
        DebugLog::log("[ts] what the loudspeakers played is not removed, because " +
                      std::string(systemFileName) + " can't be used: " + error.localizedDescription());
        return {};
    }
}

} // namespace

WorkerModule::WorkerModule(SpeechWorker worker) : m_worker(std::move(worker)) {}

void WorkerModule::requireInstalled() const {
    const std::string missing = m_worker.missingPart();
    if (!missing.empty()) throw engineFailure(EngineFailure::notInstalled, missing);
}

std::unique_ptr<InstallationRequest> WorkerModule::installationRequest() {
    requireInstalled();
    return nullptr;
}

void WorkerModule::collectResults(ResultHandler handler) {
    m_handler = std::move(handler);
}

std::optional<double> WorkerModule::analyse(const std::filesystem::path& file, std::stop_token stop) {
    requireInstalled();
    std::vector<std::string> arguments = m_worker.arguments;
    std::vector<FileHandle> files;
    files.push_back(openRegularFile(file));
    if (FileHandle system = systemTrackBeside(file)) {
        files.push_back(std::move(system));
        arguments.insert(arguments.end(), {"--reference", std::to_string(ChildProcess::firstFile + 1)});
    }
    arguments.push_back(std::to_string(ChildProcess::firstFile));
    WorkerAnswer answer(m_handler);
    runWorkerProgram(m_worker.program, arguments, std::move(files), answer, stop);
    if (!answer.end()) throw incompleteAnswer();
    return answer.end()->lastSampleTime;
}

void WorkerModule::finalizeAndFinish(double) {}

void WorkerModule::cancelAndFinishNow() noexcept {}

void WorkerModule::waitForResults() {}

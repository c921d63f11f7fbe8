#include "platform/speech/worker_module.h"

#include "base/debug_log.h"
#include "base/error.h"
#include "base/recording_files.h"
#include "platform/posix/child_process.h"
#include "platform/posix/regular_file.h"
#include "platform/speech/worker_answer.h"
#include "platform/speech/worker_engine.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

Error failure(EngineFailure code, const std::string& description) {
    return {"engine", static_cast<int>(code), description};
}

/// On one line, whatever the worker wrote.
void logErrors(const ChildProcess& worker) {
    std::string text = worker.errors();
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, ' ');
    text.erase(text.find_last_not_of(' ') + 1);
    if (!text.empty()) DebugLog::log("[ts] speech worker: " + text);
}

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

/// Throws unless the worker ended in order with its last word said.
std::optional<double> conclude(const ChildEnd& end, const WorkerAnswer& answer) {
    if (end.how == ChildEnd::How::stopped)
        throw failure(EngineFailure::stopped, "The transcription was stopped.");
    if (end.how == ChildEnd::How::lineTooLong)
        throw failure(EngineFailure::badOutput, "The speech worker wrote a line without end.");
    if (end.how == ChildEnd::How::signalled)
        throw failure(EngineFailure::crashed,
                      "The speech worker crashed: " + std::string(::strsignal(end.value)) + ".");
    if (answer.failure()) throw failure(EngineFailure::reported, answer.failure()->description);
    if (end.value != 0)
        throw failure(EngineFailure::crashed,
                      "The speech worker ended with status " + std::to_string(end.value) + ".");
    if (!end.wholeLines || !answer.end())
        throw failure(EngineFailure::badOutput, "The speech worker ended before its answer was complete.");
    return answer.end()->lastSampleTime;
}

} // namespace

WorkerModule::WorkerModule(SpeechWorker worker) : m_worker(std::move(worker)) {}

void WorkerModule::requireInstalled() const {
    const std::string missing = m_worker.missingPart();
    if (!missing.empty()) throw failure(EngineFailure::notInstalled, missing);
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
    ChildProcess worker(m_worker.program, arguments, std::move(files));
    WorkerAnswer answer(m_handler);
    try {
        const auto lastSampleTime =
            conclude(worker.run([&](std::string_view line) { answer.read(line); }, stop), answer);
        logErrors(worker);
        return lastSampleTime;
    } catch (const protocol::Violation& violation) {
        logErrors(worker);
        throw failure(EngineFailure::badOutput,
                      "The speech worker wrote what is no answer: " + std::string(violation.what()) + ".");
    } catch (const Error&) {
        if (!stop.stop_requested()) logErrors(worker);
        throw;
    }
}

void WorkerModule::finalizeAndFinish(double) {}

void WorkerModule::cancelAndFinishNow() noexcept {}

void WorkerModule::waitForResults() {}

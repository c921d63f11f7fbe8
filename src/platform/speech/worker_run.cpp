#include "platform/speech/worker_run.h"

#include "base/debug_log.h"
#include "platform/posix/child_process.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

/// On one line, whatever the worker wrote.
void logErrors(const ChildProcess& worker) {
    std::string text = worker.errors();
    std::replace_if(text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, ' ');
    text.erase(text.find_last_not_of(' ') + 1);
    if (!text.empty()) DebugLog::log("[ts] speech worker: " + text);
}

/// Throws unless the worker ended in order.
void requireOrderlyEnd(const ChildEnd& end, const WorkerAnswer& answer) {
    if (end.how == ChildEnd::How::stopped)
        throw engineFailure(EngineFailure::stopped, "The transcription was stopped.");
    if (end.how == ChildEnd::How::lineTooLong)
        throw engineFailure(EngineFailure::badOutput, "The speech worker wrote a line without end.");
    if (end.how == ChildEnd::How::signalled)
        throw engineFailure(EngineFailure::crashed,
                            "The speech worker crashed: " + std::string(::strsignal(end.value)) + ".");
    if (answer.failure()) throw engineFailure(EngineFailure::reported, answer.failure()->description);
    if (end.value != 0)
        throw engineFailure(EngineFailure::crashed,
                            "The speech worker ended with status " + std::to_string(end.value) + ".");
    if (!end.wholeLines) throw incompleteAnswer();
}

} // namespace

Error engineFailure(EngineFailure code, const std::string& description) {
    return {"engine", static_cast<int>(code), description};
}

Error incompleteAnswer() {
    return engineFailure(EngineFailure::badOutput, "The speech worker ended before its answer was complete.");
}

void runWorkerProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                      std::vector<FileHandle> files, WorkerAnswer& answer, const std::stop_token& stop) {
    ChildProcess worker(program, arguments, std::move(files));
    try {
        requireOrderlyEnd(worker.run([&](std::string_view line) { answer.read(line); }, stop), answer);
        logErrors(worker);
    } catch (const protocol::Violation& violation) {
        logErrors(worker);
        throw engineFailure(EngineFailure::badOutput, "The speech worker wrote what is no answer: " +
                                                          std::string(violation.what()) + ".");
    } catch (const Error&) {
        if (!stop.stop_requested()) logErrors(worker);
        throw;
    }
}

#include "platform/speech/worker_file_info.h"

#include "base/debug_log.h"
#include "platform/posix/child_process.h"
#include "platform/posix/regular_file.h"
#include "platform/speech/worker_run.h"

#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

bool isOrdinary(const Error& error) {
    return error.domain() == "engine" && (error.code() == static_cast<int>(EngineFailure::reported) ||
                                          error.code() == static_cast<int>(EngineFailure::stopped));
}

} // namespace

WorkerFileInfo::WorkerFileInfo(std::filesystem::path worker, OwnFiles ownFiles)
    : m_worker(std::move(worker)), m_ownFiles(std::move(ownFiles)) {}

void WorkerFileInfo::open(const std::filesystem::path& file) {
    openRegularFile(file);
}

AudioFileFacts WorkerFileInfo::facts(const std::filesystem::path& file, const std::stop_token& stop) {
    if (const auto own = m_ownFiles(file)) return *own;
    FileHandle opened = openRegularFile(file);
    try {
        return askWorker(std::move(opened), stop);
    } catch (const Error& error) {
        if (!isOrdinary(error))
            DebugLog::log("[ts] the length of " + file.filename().string() +
                          " is not known: " + error.localizedDescription());
        throw;
    }
}

AudioFileFacts WorkerFileInfo::askWorker(FileHandle file, const std::stop_token& stop) const {
    if (::access(m_worker.c_str(), X_OK) != 0)
        throw engineFailure(EngineFailure::notInstalled,
                            "The speech worker " + m_worker.string() +
                                " is missing: install the package murmelo again.");
    std::vector<FileHandle> files;
    files.push_back(std::move(file));
    WorkerAnswer answer({});
    runWorkerProgram(m_worker, {std::to_string(ChildProcess::firstFile)}, std::move(files), answer, stop);
    if (!answer.length()) throw incompleteAnswer();
    return {answer.length()->frames, answer.length()->sampleRate};
}

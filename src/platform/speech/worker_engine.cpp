#include "platform/speech/worker_engine.h"

#include "platform/speech/worker_module.h"

#include <unistd.h>
#include <utility>

namespace {

/// What the built-in recogniser lacks, as a sentence that names the Debian package which brings it.
std::string missingPart(const std::filesystem::path& worker, const std::filesystem::path& modelFolder) {
    if (::access(worker.c_str(), X_OK) != 0)
        return "The speech worker " + worker.string() + " is missing: install the package murmelo again.";
    for (const char* part : {"en-us/mdef", "en-us.lm.bin", "cmudict-en-us.dict"})
        if (::access((modelFolder / part).c_str(), R_OK) != 0)
            return "The speech model " + (modelFolder / part).string() +
                   " is missing: install the package pocketsphinx-en-us.";
    return {};
}

} // namespace

std::filesystem::path workerProgram(const std::filesystem::path& executableFolder, std::string_view name) {
    std::error_code ignored;
    std::filesystem::path inBuildTree = executableFolder / "libexec" / name;
    if (std::filesystem::exists(inBuildTree, ignored)) return inBuildTree;
    return (executableFolder / ".." / "libexec" / "murmelo" / name).lexically_normal();
}

WorkerEngine::WorkerEngine(std::filesystem::path worker, std::filesystem::path modelFolder)
    : m_worker(std::move(worker)), m_modelFolder(std::move(modelFolder)) {}

std::vector<Locale> WorkerEngine::supportedLocales() {
    if (!missingPart(m_worker, m_modelFolder).empty()) return {};
    return {Locale("en_US")};
}

std::unique_ptr<SpeechModule> WorkerEngine::module(const Locale& locale) {
    return std::make_unique<WorkerModule>(
        SpeechWorker{m_worker,
                     {"--model", m_modelFolder, "--locale", locale.identifier()},
                     [worker = m_worker, model = m_modelFolder] { return missingPart(worker, model); }});
}

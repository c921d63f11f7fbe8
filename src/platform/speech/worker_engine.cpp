#include "platform/speech/worker_engine.h"

#include "platform/speech/worker_module.h"

#include <utility>

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
    return std::make_unique<WorkerModule>(m_worker, m_modelFolder, locale);
}

#include "platform/speech/sherpa_worker.h"

#include "platform/speech/worker_engine.h"

#include <algorithm>
#include <unistd.h>

namespace {

/// Where the worker looks for versions of the library, in a folder each: in ../lib of its own folder (the
/// build tree), else in ../../lib (the installed tree).
std::filesystem::path libraryFolder(const std::filesystem::path& worker) {
    const std::filesystem::path place = "lib/murmelo/sherpa-onnx";
    std::error_code ignored;
    std::filesystem::path inBuildTree = (worker.parent_path() / ".." / place).lexically_normal();
    if (std::filesystem::exists(inBuildTree, ignored)) return inBuildTree;
    return (worker.parent_path() / "../.." / place).lexically_normal();
}

bool holdsLibrary(const std::filesystem::path& folder) {
    std::error_code ignored;
    const std::filesystem::directory_iterator versions(folder, ignored);
    return std::any_of(begin(versions), end(versions), [](const std::filesystem::path& version) {
        return ::access((version / "libsherpa-onnx-c-api.so").c_str(), R_OK) == 0;
    });
}

std::string missingPart(const std::filesystem::path& worker) {
    if (::access(worker.c_str(), X_OK) != 0)
        return "The speech worker " + worker.string() + " is missing: install the package murmelo again.";
    const std::filesystem::path library = libraryFolder(worker);
    if (holdsLibrary(library)) return {};
    return "Speech models need the library sherpa-onnx, which is not in " + library.string() +
           ": “./run” in Murmelo's source folder gets it.";
}

} // namespace

ModelWorker sherpaWorker(const std::filesystem::path& executableFolder) {
    const std::filesystem::path worker = workerProgram(executableFolder, "murmelo-speech-sherpa-onnx");
    return {worker, [worker] { return missingPart(worker); }};
}

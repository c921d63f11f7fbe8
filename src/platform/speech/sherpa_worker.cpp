#include "platform/speech/sherpa_worker.h"

#include "platform/speech/worker_engine.h"
#include "speech_worker/sherpa_folder.h"

#include <unistd.h>

namespace {

std::string missingPart(const std::filesystem::path& worker) {
    if (::access(worker.c_str(), X_OK) != 0)
        return "The speech worker " + worker.string() + " is missing: install the package murmelo again.";
    const std::filesystem::path folder = sherpaFolder(worker.parent_path());
    if (::access((folder / sherpaLibraryName).c_str(), R_OK) == 0) return {};
    return "Speech models need the library sherpa-onnx, which is not in " + folder.string() +
           ": “./run” in Murmelo's source folder gets it.";
}

} // namespace

ModelWorker sherpaWorker(const std::filesystem::path& executableFolder) {
    const std::filesystem::path worker = workerProgram(executableFolder, "murmelo-speech-sherpa-onnx");
    return {worker, [worker] { return missingPart(worker); }};
}

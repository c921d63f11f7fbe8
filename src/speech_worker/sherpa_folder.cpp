#include "speech_worker/sherpa_folder.h"

#include "speech_worker/sherpa_api.h"

std::filesystem::path sherpaFolder(const std::filesystem::path& workerFolder) {
    const std::filesystem::path part = std::filesystem::path("lib/murmelo/sherpa-onnx") / sherpa::version;
    std::error_code ignored;
    std::filesystem::path inBuildTree = (workerFolder / ".." / part).lexically_normal();
    if (std::filesystem::exists(inBuildTree, ignored)) return inBuildTree;
    return (workerFolder / "../.." / part).lexically_normal();
}

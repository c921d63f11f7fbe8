#include "speech_worker/sherpa_folder.h"

#include "base/program_part.h"
#include "speech_worker/sherpa_api.h"

std::filesystem::path sherpaFolder(const std::filesystem::path& workerFolder) {
    return programPart(workerFolder / "..",
                       std::filesystem::path("lib/murmelo/sherpa-onnx") / sherpa::version);
}

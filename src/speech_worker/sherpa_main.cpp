#include "speech_worker/sherpa_folder.h"
#include "speech_worker/sherpa_recogniser.h"
#include "speech_worker/worker_main.h"

namespace {

// The largest models take 700 MB on the disk, and are in memory twice while they are loaded.
constexpr std::uint64_t mostMemory = std::uint64_t{6} << 30;

std::filesystem::path engineFolder() {
    std::error_code unknown;
    return sherpaFolder(std::filesystem::read_symlink("/proc/self/exe", unknown).parent_path());
}

} // namespace

int main(int argc, char** argv) {
    const std::filesystem::path folder = engineFolder();
    const auto makeRecogniser = [&](const WorkerArguments& arguments) {
        return std::make_unique<SherpaRecogniser>(SherpaLibrary(folder), SherpaModel(arguments.model),
                                                  arguments.locale, arguments.voiceDetector);
    };
    return workerMain(argc, argv, {mostMemory, folder, makeRecogniser, decodeFile});
}

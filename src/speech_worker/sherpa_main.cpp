#include "platform/media/audio_reader.h"
#include "speech_worker/sherpa_folder.h"
#include "speech_worker/sherpa_recogniser.h"
#include "speech_worker/worker_main.h"

namespace {

// The largest models take 700 MB on the disk, and are in memory twice while they are loaded.
constexpr std::uint64_t mostMemory = std::uint64_t{6} << 30;

std::unique_ptr<Recogniser> makeRecogniser(const WorkerArguments& arguments) {
    const auto executable = std::filesystem::read_symlink("/proc/self/exe");
    return std::make_unique<SherpaRecogniser>(SherpaLibrary(sherpaFolder(executable.parent_path())),
                                              SherpaModel(arguments.model), arguments.locale,
                                              arguments.voiceDetector);
}

} // namespace

int main(int argc, char** argv) {
    return workerMain(argc, argv, mostMemory, makeRecogniser, decodeTo16kMono);
}

#include "platform/media/audio_reader.h"
#include "speech_worker/sherpa_recogniser.h"
#include "speech_worker/worker_main.h"

namespace {

std::unique_ptr<Recogniser> makeRecogniser(const WorkerArguments& arguments) {
    const auto executable = std::filesystem::read_symlink("/proc/self/exe");
    return std::make_unique<SherpaRecogniser>(SherpaLibrary(sherpaFolder(executable.parent_path())),
                                              SherpaModel(arguments.model), arguments.locale,
                                              arguments.voiceDetector);
}

} // namespace

int main(int argc, char** argv) {
    return workerMain(argc, argv, makeRecogniser, decodeTo16kMono);
}

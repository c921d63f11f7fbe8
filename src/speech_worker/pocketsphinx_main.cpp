#include "base/error.h"
#include "speech_worker/pocketsphinx_recogniser.h"
#include "speech_worker/worker_main.h"

namespace {

// Model and search take 130 MB of it, the shared libraries most of the rest.
constexpr std::uint64_t mostMemory = std::uint64_t{1} << 30;

std::unique_ptr<Recogniser> makeRecogniser(const WorkerArguments& arguments) {
    if (arguments.locale != "en_US")
        throw Error("engine", 1, "The built-in recogniser only knows en_US, not " + arguments.locale + ".");
    return std::make_unique<PocketSphinxRecogniser>(arguments.model);
}

} // namespace

int main(int argc, char** argv) {
    return workerMain(argc, argv, {mostMemory, {}, makeRecogniser, decodeFile});
}

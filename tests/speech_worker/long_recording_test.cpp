#include "speech_worker/protocol.h"
#include "speech_worker/worker_main.h"
#include "support/synthetic_voice.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <malloc.h>

namespace {

std::size_t heapInUse() {
    const struct mallinfo2 heap = ::mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

class OneWordRecogniser final : public Recogniser {
  public:
    std::vector<RecognisedWord> recognise(std::span<const float>) override { return {{"hello", 0.1, 0.5}}; }
};

struct Costs {
    std::size_t utterances = 0;
    std::size_t mostMemory = 0; ///< bytes on the heap beyond those before
};

/// A second of speech at the beginning of each minute.
Costs transcribe(int minutes) {
    const std::vector<float> speech = babble(1, 0.05F);
    const std::vector<float> pause = hiss(1, 0.001F);
    const std::size_t before = heapInUse();
    Costs costs;
    std::string arguments[] = {"--model", "/m", "--locale", "en_US", "3"};
    char* pointers[5];
    for (std::size_t i = 0; i < 5; ++i) pointers[i] = arguments[i].data();
    runWorker(
        pointers, [](const WorkerArguments&) { return std::make_unique<OneWordRecogniser>(); },
        [&](int, const AudioSink& sink) {
            for (int second = 0; second < minutes * 60; ++second) {
                sink(second % 60 == 0 ? speech : pause);
                costs.mostMemory = std::max(costs.mostMemory, heapInUse() - before);
            }
        },
        [&](std::string_view line) { costs.utterances += line.find("\"text\"") != line.npos ? 1 : 0; });
    return costs;
}

TEST(LongRecording, ThreeHoursNeedNoMoreMemoryThanThreeMinutes) {
    const Costs few = transcribe(3);
    EXPECT_EQ(few.utterances, 3U);
    EXPECT_GT(few.mostMemory, std::size_t{10} * 16000 * sizeof(float)) << "it looks so far ahead";
    const Costs many = transcribe(180);
    EXPECT_EQ(many.utterances, 180U);
    EXPECT_LE(many.mostMemory, few.mostMemory + 100000);
}

} // namespace

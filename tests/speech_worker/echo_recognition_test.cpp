#include "base/recording_files.h"
#include "platform/speech/worker_engine.h"
#include "support/leaking_conversation.h"
#include "support/log_capture.h"

#include <cstdio>
#include <gtest/gtest.h>

namespace {

/// Whole recordings, recognised by the real worker with the real model.
class EchoRecognitionTest : public testing::TestWithParam<bool> {
  protected:
    /// What "You" said according to the engine. Without a system track nothing can be removed.
    static std::string heard(const std::vector<float>& voice, const std::vector<float>* system) {
        const TemporaryFolder folder;
        record(folder / voiceFileName, voice);
        if (system != nullptr) record(folder / systemFileName, *system);
        const auto module = WorkerEngine(MURMELO_WORKER, MURMELO_MODEL).module(Locale("en_US"));
        std::string text;
        module->collectResults([&](const SpeechResult& result) { text += result.text + " "; });
        module->analyse(folder / voiceFileName, {});
        return text;
    }

    LogCapture log;
};

TEST_P(EchoRecognitionTest, WhatTheLoudspeakersPlayedIsNotWrittenAndTheUsersWordsAre) {
    const Conversation spoken = conversation(GetParam(), 3);
    const std::string without = heard(mixed(spoken.near, leaked(spoken.far, {-10, 40})), nullptr);
    const std::size_t twice = farWords(spoken, without);
    ASSERT_GE(twice, 5U) << "no test of anything: " << without;
    const std::string alone = heard(spoken.near, nullptr);
    const double least = wordErrorRate(spoken.nearText, alone);
    std::size_t left = 0;
    double errors = 0;
    const std::vector<Leak> leaks{{-3, 5}, {-10, 250, 100}};
    for (const Leak& leak : leaks) {
        const std::string with = heard(mixed(spoken.near, leaked(spoken.far, leak)), &spoken.far);
        left += farWords(spoken, with);
        errors += wordErrorRate(spoken.nearText, with) / static_cast<double>(leaks.size());
        std::printf("%.0f dB, %.0f ms, %.0f ppm: %s\n", leak.decibels, leak.milliseconds,
                    leak.partsPerMillion, with.c_str());
    }
    EXPECT_LE(static_cast<double>(left), 0.05 * static_cast<double>(twice * leaks.size()));
    EXPECT_LE(errors, least + 0.03) << "without echo: " << alone;
    std::printf("far words %zu, not removed %zu; near word error rate %.3f, without echo %.3f\n", left,
                twice * leaks.size(), errors, least);
}

INSTANTIATE_TEST_SUITE_P(Talk, EchoRecognitionTest, testing::Bool(),
                         [](const auto& atOnce) { return std::string(atOnce.param ? "AtOnce" : "InTurn"); });

TEST_F(EchoRecognitionTest, WithoutEchoTheWordsAreTheSameAsWithoutRemoval) {
    const Conversation spoken = conversation(true, 2);
    EXPECT_EQ(heard(spoken.near, &spoken.far), heard(spoken.near, nullptr));
}

} // namespace

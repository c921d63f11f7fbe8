#include "speech_worker/echo_judge.h"

#include "support/synthetic_voice.h"

#include <gtest/gtest.h>

namespace {

std::vector<float> quieter(std::vector<float> sound, double decibels) {
    for (float& sample : sound) sample *= static_cast<float>(std::pow(10, -decibels / 20));
    return sound;
}

TEST(EchoJudge, AWordThatLostEightDecibelsWasEcho) {
    const std::vector<float> sound = hiss(1, 0.05F);
    EchoJudge judge;
    judge.add(joined({sound, sound, sound}), joined({quieter(sound, 8.1), quieter(sound, 7.9), sound}));
    EXPECT_TRUE(judge.isEcho(0.2, 0.6));
    EXPECT_FALSE(judge.isEcho(1.2, 1.6));
    EXPECT_FALSE(judge.isEcho(2.2, 2.6));
}

TEST(EchoJudge, OnlyTheWordItselfCounts) {
    const std::vector<float> sound = hiss(0.5, 0.05F);
    EchoJudge judge;
    judge.add(joined({sound, sound, sound}), joined({sound, quieter(sound, 20), sound}));
    EXPECT_TRUE(judge.isEcho(0.5, 1));
    EXPECT_FALSE(judge.isEcho(0.4, 1));
    EXPECT_FALSE(judge.isEcho(0.5, 1.1));
}

TEST(EchoJudge, PiecesOfAnyLengthAreTheSame) {
    const std::vector<float> before = hiss(2, 0.05F);
    const std::vector<float> after = joined({quieter(hiss(1, 0.05F), 20), hiss(1, 0.05F)});
    EchoJudge judge;
    for (std::size_t at = 0; at < before.size(); at += 77) {
        const std::size_t count = std::min<std::size_t>(77, before.size() - at);
        judge.add(std::span(before).subspan(at, count), std::span(after).subspan(at, count));
    }
    EXPECT_TRUE(judge.isEcho(0.3, 1));
    EXPECT_FALSE(judge.isEcho(1, 1.7));
}

TEST(EchoJudge, SilenceIsNoEcho) {
    EchoJudge judge;
    judge.add(silence(1), silence(1));
    EXPECT_FALSE(judge.isEcho(0.2, 0.6));
    judge.add(hiss(1, 0.00001F), silence(1)); // below what 16 bits can say
    EXPECT_FALSE(judge.isEcho(1.2, 1.6));
}

TEST(EchoJudge, WhatItDoesNotRememberIsNoEcho) {
    const std::vector<float> sound = hiss(20, 0.05F);
    const std::vector<float> rest = quieter(sound, 20);
    EchoJudge judge;
    EXPECT_FALSE(judge.isEcho(0, 1));
    for (int i = 0; i < 5; ++i) judge.add(sound, rest);
    EXPECT_FALSE(judge.isEcho(5, 6));
    EXPECT_TRUE(judge.isEcho(41, 42));
    EXPECT_TRUE(judge.isEcho(99, 100));
    EXPECT_FALSE(judge.isEcho(101, 102));
}

} // namespace

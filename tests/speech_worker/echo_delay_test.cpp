#include "speech_worker/echo_delay.h"

#include "support/leaking_room.h"
#include "support/synthetic_voice.h"

#include <array>
#include <gtest/gtest.h>

namespace {

constexpr double sample = 1.0 / 16000;
const double stretch = static_cast<double>(echoStretch) / 16000;

/// Noise of its own for each seed.
std::vector<float> noiseOf(unsigned seed, float level = 0.05F) {
    std::mt19937 generator(seed);
    std::normal_distribution<float> distribution(0, level);
    std::vector<float> samples(echoStretch);
    for (float& value : samples) value = distribution(generator);
    return samples;
}

class EchoDelayTest : public testing::TestWithParam<double> {};

TEST_P(EchoDelayTest, EachBlockTellsWhenItsEchoComes) {
    const std::vector<float> played = noiseOf(1);
    const std::vector<float> heard = mixed(leaked(played, {-20, GetParam()}), noiseOf(2, 0.002F));
    const std::vector<EchoDelay> delays = echoDelays(heard, played);
    ASSERT_EQ(delays.size(), 5U);
    for (std::size_t block = 0; block < 5; ++block) {
        EXPECT_DOUBLE_EQ(delays[block].time, 1.024 + 2.048 * static_cast<double>(block));
        EXPECT_NEAR(delays[block].delay, GetParam() / 1000, sample);
    }
}

INSTANTIATE_TEST_SUITE_P(Milliseconds, EchoDelayTest, testing::Values(0, 5, 40, 120, 250, 480));

TEST(EchoDelays, AreFoundBelowTheUsersVoice) {
    const std::vector<float> played = noiseOf(1);
    const std::vector<float> heard = mixed(leaked(played, {-10, 40}), babble(stretch, 0.02F));
    const std::vector<EchoDelay> delays = echoDelays(heard, played);
    ASSERT_FALSE(delays.empty());
    for (const EchoDelay& delay : delays) EXPECT_NEAR(delay.delay, 0.04, sample);
}

TEST(EchoDelays, FollowAClockThatRunsFaster) {
    const std::vector<float> played = noiseOf(1);
    const std::vector<EchoDelay> delays = echoDelays(leaked(played, {-10, 40, 100}), played);
    ASSERT_EQ(delays.size(), 5U);
    for (const EchoDelay& delay : delays) EXPECT_NEAR(delay.delay, 0.04 + 1e-4 * delay.time, 2.5 * sample);
}

TEST(EchoDelays, WithoutEchoThereAreNone) {
    for (unsigned seed = 0; seed < 5; ++seed)
        EXPECT_TRUE(echoDelays(noiseOf(2 * seed), noiseOf(2 * seed + 1)).empty()) << seed;
    EXPECT_TRUE(echoDelays(babble(stretch, 0.05F), noiseOf(1)).empty());
    EXPECT_TRUE(echoDelays(noiseOf(1), babble(stretch, 0.05F)).empty());
    EXPECT_TRUE(
        echoDelays(mixed(sine(stretch, 440, 0.1F), noiseOf(1, 0.0003F)), sine(stretch, 660, 0.1F)).empty());
}

/// Noise in which a faint echo of `played` comes after another delay, in milliseconds, in each block.
std::vector<float> faintEchoes(const std::vector<float>& played, const std::array<double, 5>& delays) {
    std::vector<float> echoes;
    for (std::size_t block = 0; block < delays.size(); ++block) {
        const std::vector<float> echo = leaked(played, {-14, delays[block]});
        const auto begin = echo.begin() + static_cast<std::ptrdiff_t>(block * echoBlock);
        echoes.insert(echoes.end(), begin, begin + echoBlock);
    }
    return mixed(echoes, noiseOf(2));
}

TEST(EchoDelays, BlocksThatContradictEachOtherAreNoEcho) {
    const std::vector<float> played = noiseOf(1);
    EXPECT_TRUE(echoDelays(faintEchoes(played, {50, 150, 250, 350, 450}), played).empty());
    EXPECT_GE(echoDelays(faintEchoes(played, {50, 150, 250, 350, 351}), played).size(), 2U);
    EXPECT_EQ(echoDelays(faintEchoes(played, {250, 250, 250, 250, 250}), played).size(), 5U);
}

TEST(EchoDelays, SilenceTellsNothing) {
    EXPECT_TRUE(echoDelays(silence(stretch), silence(stretch)).empty());
    EXPECT_TRUE(echoDelays(noiseOf(1), silence(stretch)).empty());
    EXPECT_TRUE(echoDelays(silence(stretch), noiseOf(1)).empty());
}

TEST(EchoDelays, BlocksInWhichNothingIsPlayedTellNothing) {
    std::vector<float> played = noiseOf(1);
    std::fill(played.begin() + echoBlock, played.begin() + 4 * static_cast<std::ptrdiff_t>(echoBlock), 0.0F);
    const std::vector<EchoDelay> delays =
        echoDelays(mixed(leaked(played, {-10, 40}), noiseOf(2, 0.002F)), played);
    ASSERT_EQ(delays.size(), 2U);
    EXPECT_DOUBLE_EQ(delays[1].time, 1.024 + 4 * 2.048);
}

TEST(EchoDelays, TheUsersVoiceThatComesBackIsNoEcho) {
    const std::vector<float> voice = noiseOf(1);
    for (const double milliseconds : {10, 40, 250})
        EXPECT_TRUE(echoDelays(voice, leaked(voice, {-10, milliseconds})).empty()) << milliseconds;
}

TEST(EchoDelays, WhatIsLeftBehindTheLastWholeBlockTellsNothing) {
    const std::vector<float> played = noiseOf(1);
    const std::vector<float> heard = leaked(played, {-10, 40});
    const std::span<const float> system(played);
    EXPECT_TRUE(echoDelays(heard, system.first(echoBlock - 1)).empty());
    EXPECT_EQ(echoDelays(heard, system.first(3 * echoBlock - 1)).size(), 2U);
    EXPECT_TRUE(echoDelays({}, {}).empty());
}

} // namespace

#include "speech_worker/echo_removal.h"

#include "support/leaking_room.h"
#include "support/synthetic_voice.h"

#include <gtest/gtest.h>

namespace {

constexpr std::size_t second = 16000;

/// Noise in bursts of a second with pauses of half a second, another for each seed.
std::vector<float> bursts(double seconds, unsigned seed, float level = 0.05F) {
    std::mt19937 generator(seed);
    std::normal_distribution<float> distribution(0, level);
    std::vector<float> samples = silence(seconds);
    for (std::size_t i = 0; i < samples.size(); ++i)
        if (i % (3 * second / 2) < second) samples[i] = distribution(generator);
    return samples;
}

double decibels(std::span<const float> samples) {
    double sum = 1e-12;
    for (const float sample : samples) sum += static_cast<double>(sample) * sample;
    return 10 * std::log10(sum / static_cast<double>(samples.size()));
}

class EchoRemovalTest : public testing::Test {
  protected:
    /// What is left of the microphone track, which comes in pieces.
    std::vector<float> removed(const std::vector<float>& microphone, const std::vector<float>& system,
                               std::size_t piece = 4096) {
        std::vector<float> left;
        std::size_t read = 0;
        EchoRemoval removal(
            [&] {
                const auto next =
                    std::span(system).subspan(read, std::min(system.size() - read, 3 * piece / 2));
                read += next.size();
                return next;
            },
            [&](std::span<const float> samples) { left.insert(left.end(), samples.begin(), samples.end()); });
        const std::span<const float> all(microphone);
        for (std::size_t at = 0; at < all.size(); at += piece) {
            removal.push(all.subspan(at, std::min(piece, all.size() - at)));
            mostHeld = std::max(mostHeld, std::min(all.size(), at + piece) - left.size());
        }
        removal.finish();
        EXPECT_EQ(left.size(), microphone.size());
        return left;
    }

    std::size_t mostHeld = 0; ///< samples that went in and did not come out yet
};

TEST_F(EchoRemovalTest, WithoutEchoEverySampleStaysAsItIs) {
    const std::vector<float> voice = joined({bursts(25, 1), babble(5, 0.05F), silence(3)});
    for (const std::size_t piece : {std::size_t{1021}, voice.size()})
        EXPECT_EQ(removed(voice, bursts(33, 2), piece), voice);
    EXPECT_EQ(removed(voice, silence(33)), voice);
    EXPECT_EQ(removed(voice, {}), voice);
    EXPECT_EQ(removed(silence(30), bursts(30, 2)), silence(30));
    EXPECT_TRUE(removed({}, bursts(3, 2)).empty());
}

TEST_F(EchoRemovalTest, AVoiceThatComesBackFromTheOtherEndStaysAsItIs) {
    const std::vector<float> voice = bursts(30, 1);
    EXPECT_EQ(removed(voice, leaked(voice, {-6, 150})), voice);
}

struct Case {
    const char* name;
    Leak leak;
};
void PrintTo(const Case& one, std::ostream* stream) {
    *stream << one.name;
}

class EchoRemovalByDelay : public EchoRemovalTest, public testing::WithParamInterface<Case> {};

TEST_P(EchoRemovalByDelay, TheEchoGoesFromTheFirstSecondOn) {
    const std::vector<float> played = bursts(25, 1);
    const std::vector<float> echo = leaked(played, GetParam().leak);
    const std::vector<float> left = removed(mixed(echo, hiss(25, 0.00003F)), played);
    EXPECT_LT(decibels(std::span(left).first(3 * second)), decibels(std::span(echo).first(3 * second)) - 12);
    EXPECT_LT(decibels(left), decibels(echo) - 15);
}

TEST_P(EchoRemovalByDelay, TheUsersVoiceStays) {
    const std::vector<float> played = joined({bursts(10, 1), silence(5), bursts(10, 3)});
    const std::vector<float> voice = joined({silence(10), bursts(5, 2), babble(10, 0.02F)});
    const std::vector<float> left = removed(mixed(leaked(played, GetParam().leak), voice), played);
    const auto alone = [](const std::vector<float>& sound) {
        return std::span(sound).subspan(11 * second, 4 * second);
    };
    EXPECT_NEAR(decibels(alone(left)), decibels(alone(voice)), 1);
    const auto below = [](const std::vector<float>& sound) { return std::span(sound).subspan(15 * second); };
    EXPECT_NEAR(decibels(below(left)), decibels(below(voice)), 1.5);
}

INSTANTIATE_TEST_SUITE_P(Leaks, EchoRemovalByDelay,
                         testing::Values(Case{"short_delay", {-3, 5, 0}}, Case{"usual_delay", {-10, 40, 0}},
                                         Case{"long_delay", {-10, 250, 0}}, Case{"quiet", {-20, 120, 0}},
                                         Case{"slow_clock", {-10, 40, 100}},
                                         Case{"fast_clock", {-10, 250, -100}}),
                         [](const auto& one) { return std::string(one.param.name); });

TEST_F(EchoRemovalTest, BehindTheEndOfTheSystemTrackTheVoiceStays) {
    const std::vector<float> played = bursts(30, 1);
    const std::vector<float> voice = joined({silence(30), bursts(30, 2)});
    const std::vector<float> left = removed(mixed(leaked(played, {-10, 40}), voice), played);
    const auto late = [](const std::vector<float>& sound) { return std::span(sound).subspan(31 * second); };
    EXPECT_NEAR(decibels(late(left)), decibels(late(voice)), 0.5);
    EXPECT_LT(decibels(std::span(left).first(29 * second)), -50);
}

TEST_F(EchoRemovalTest, ALongerSystemTrackChangesNothing) {
    const std::vector<float> played = bursts(60, 1);
    const std::vector<float> heard = leaked(std::span(played).first(30 * second), {-10, 40});
    EXPECT_EQ(removed(heard, played), removed(heard, {played.begin(), played.begin() + 30 * second}));
}

TEST_F(EchoRemovalTest, AnotherLoudspeakerIsFollowed) {
    const std::vector<float> played = bursts(160, 1);
    std::vector<float> echo = leaked(played, {-10, 40});
    const std::vector<float> later = leaked(played, {-10, 180});
    std::copy(later.begin() + 80 * second, later.end(), echo.begin() + 80 * second);
    const std::vector<float> left = removed(echo, played);
    for (const std::size_t begin : {0, 30, 100, 130}) {
        const auto part = [&](const std::vector<float>& sound) {
            return std::span(sound).subspan(begin * second, 30 * second);
        };
        EXPECT_LT(decibels(part(left)), decibels(part(echo)) - 12) << begin;
    }
}

TEST_F(EchoRemovalTest, AnEchoThatBeginsLateIsRemovedFromItsBeginningOn) {
    const std::vector<float> played = bursts(120, 1);
    std::vector<float> echo = leaked(played, {-10, 40});
    std::fill(echo.begin(), echo.begin() + 90 * second, 0.0F);
    const std::vector<float> heard = mixed(bursts(80, 2), echo);
    const std::vector<float> left = removed(heard, played);
    EXPECT_TRUE(std::equal(left.begin(), left.begin() + 20 * second, heard.begin())); // nothing was known
    EXPECT_LT(decibels(std::span(left).subspan(90 * second)),
              decibels(std::span(echo).subspan(90 * second)) - 12);
}

TEST_F(EchoRemovalTest, HoldsAboutNinetySecondsHoweverLongTheTracksAre) {
    removed(silence(400), silence(400));
    EXPECT_LE(mostHeld, 95 * second);
}

TEST_F(EchoRemovalTest, KnowsWhichWordsWereEcho) {
    const std::vector<float> played = joined({bursts(19, 1), silence(11)});
    const std::vector<float> voice = joined({silence(20), bursts(10, 2)});
    EchoRemoval removal(
        [&, read = false]() mutable {
            return std::exchange(read, true) ? std::span<const float>() : std::span<const float>(played);
        },
        [](std::span<const float>) {});
    removal.push(mixed(leaked(played, {-10, 40}), voice));
    removal.finish();
    EXPECT_TRUE(removal.isEcho(0.2, 0.6));
    EXPECT_TRUE(removal.isEcho(15.2, 15.6));
    EXPECT_FALSE(removal.isEcho(21.2, 21.6));
}

} // namespace

#include "speech_worker/voice_activity.h"

#include "support/synthetic_voice.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

constexpr float loud = 0.1F;
constexpr float quiet = 0.0005F;
constexpr double frame = 0.0101; // the high-pass rings on into the next frame

struct KeptCut {
    double voicedStart;
    double voicedEnd;
    double start;
    std::vector<float> samples;
};

std::vector<KeptCut> cuts(const std::vector<float>& signal, std::size_t chunk = 4096) {
    std::vector<KeptCut> kept;
    VoiceActivity activity([&](const VoiceActivity::Cut& cut) {
        kept.push_back({cut.voicedStart, cut.voicedEnd, cut.start, {cut.samples.begin(), cut.samples.end()}});
    });
    const std::span<const float> all(signal);
    for (std::size_t at = 0; at < all.size(); at += chunk)
        activity.push(all.subspan(at, std::min(chunk, all.size() - at)));
    activity.finish();
    EXPECT_EQ(activity.sampleCount(), signal.size());
    return kept;
}

TEST(VoiceActivity, FindsSpeechWhereItIsAndPadsItByATenthOfASecond) {
    const auto signal = joined({hiss(3, quiet), hiss(1, loud), hiss(2, quiet)});
    const auto found = cuts(signal);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_DOUBLE_EQ(found[0].voicedStart, 3);
    EXPECT_NEAR(found[0].voicedEnd, 4, frame);
    EXPECT_DOUBLE_EQ(found[0].start, 2.9);
    const auto end = static_cast<std::ptrdiff_t>(std::lround((found[0].voicedEnd + 0.1) * 16000));
    EXPECT_TRUE(found[0].samples == std::vector<float>(signal.begin() + 46400, signal.begin() + end));
}

TEST(VoiceActivity, PaddingEndsWhereTheFileDoes) {
    const auto found = cuts(joined({hiss(0.05, quiet), hiss(0.5, loud), hiss(0.08, quiet)}));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_DOUBLE_EQ(found[0].start, 0);
    EXPECT_EQ(found[0].samples.size(), 10080U);
}

TEST(VoiceActivity, ChunksDoNotMatter) {
    const auto signal =
        joined({hiss(12, quiet), hiss(1, loud), hiss(0.6, quiet), hiss(23, loud), hiss(11, quiet)});
    const auto whole = cuts(signal, signal.size());
    EXPECT_GE(whole.size(), 3U);
    for (const std::size_t chunk : {1, 159, 160, 7777}) {
        const auto found = cuts(signal, chunk);
        ASSERT_EQ(found.size(), whole.size());
        for (std::size_t i = 0; i < found.size(); ++i) {
            EXPECT_EQ(found[i].voicedStart, whole[i].voicedStart);
            EXPECT_EQ(found[i].samples, whole[i].samples);
        }
    }
}

TEST(VoiceActivity, APauseOfThreeTenthsPartsAndAShorterOneDoesNot) {
    const auto withPause = [](double seconds) {
        return cuts(
            joined({hiss(2, quiet), hiss(1, loud), hiss(seconds, quiet), hiss(1, loud), hiss(2, quiet)}));
    };
    EXPECT_EQ(withPause(0.29).size(), 1U);
    EXPECT_EQ(withPause(0.32).size(), 2U);
}

TEST(VoiceActivity, ShorterThanTwoTenthsIsDropped) {
    const auto lasting = [](double seconds) {
        return cuts(joined({hiss(2, quiet), hiss(seconds, loud), hiss(2, quiet)}));
    };
    EXPECT_TRUE(lasting(0.02).empty());
    EXPECT_TRUE(lasting(0.19).empty());
    EXPECT_EQ(lasting(0.20).size(), 1U);
}

TEST(VoiceActivity, NineDecibelsBeginAndSixDecibelsGoOn) {
    const auto tone = [](double seconds, double decibels) {
        return sine(seconds, 1000, static_cast<float>(0.001 * std::pow(10, decibels / 20)));
    };
    EXPECT_TRUE(cuts(joined({tone(3, 0), tone(1, 8.8), tone(3, 0)})).empty());
    EXPECT_EQ(cuts(joined({tone(3, 0), tone(1, 9.2), tone(3, 0)})).size(), 1U);
    const auto fading = cuts(joined({tone(3, 0), tone(1, 9.2), tone(1, 6.2), tone(1, 5.8), tone(3, 0)}));
    ASSERT_EQ(fading.size(), 1U);
    EXPECT_NEAR(fading[0].voicedEnd, 5, frame);
}

TEST(VoiceActivity, DigitalSilenceAndDitheringHoldNothing) {
    EXPECT_TRUE(cuts(silence(30)).empty());
    EXPECT_TRUE(cuts(joined({silence(10), hiss(10, 1.0F / 32768), silence(10)})).empty());
    EXPECT_TRUE(cuts({}).empty());
    EXPECT_TRUE(cuts(std::vector<float>(159, 1)).empty());
}

TEST(VoiceActivity, SteadyNoiseHoldsNothing) {
    EXPECT_TRUE(cuts(hiss(60, 0.003F)).empty());
    EXPECT_TRUE(cuts(hiss(60, 0.3F)).empty());
}

TEST(VoiceActivity, TheFloorFollowsANoiseThatBegins) {
    const auto found = cuts(joined({hiss(30, quiet), hiss(60, loud)}));
    ASSERT_FALSE(found.empty());
    EXPECT_LT(found.back().voicedEnd, 30 + 20);
}

TEST(VoiceActivity, HumBelowTheVoiceIsWeakened) {
    const auto found = cuts(joined({hiss(3, quiet), sine(1, 20, 0.005F), hiss(3, quiet)}));
    EXPECT_TRUE(found.empty());
    EXPECT_EQ(cuts(joined({hiss(3, quiet), sine(1, 200, 0.005F), hiss(3, quiet)})).size(), 1U);
}

TEST(VoiceActivity, SpeechWithoutAPauseIsPartedAtItsQuietestPlace) {
    const std::vector<float> syllable = joined({hiss(0.5, loud), hiss(0.2, quiet)});
    std::vector<float> signal = hiss(8, quiet);
    for (int i = 0; i < 24; ++i) signal = joined({signal, syllable});
    signal = joined({signal, hiss(0.5, loud), silence(0.2)});
    for (int i = 0; i < 20; ++i) signal = joined({signal, syllable});
    const auto found = cuts(joined({signal, hiss(8, quiet)}));
    ASSERT_EQ(found.size(), 2U);
    EXPECT_NEAR(found[0].voicedEnd, 25.4, 0.1);
    EXPECT_EQ(found[1].voicedStart, found[0].voicedEnd);
    EXPECT_EQ(found[1].start, found[1].voicedStart) << "nothing is heard twice";
    EXPECT_DOUBLE_EQ(found[0].start + static_cast<double>(found[0].samples.size()) / 16000,
                     found[0].voicedEnd);
    EXPECT_NEAR(found[1].voicedEnd, 39.3, frame);
}

TEST(VoiceActivity, NoCutIsLongerThanTwentySecondsAndItsPadding) {
    std::vector<float> signal = hiss(10, quiet);
    for (int i = 0; i < 130; ++i) signal = joined({signal, hiss(0.5, loud), hiss(0.2, quiet)});
    const auto found = cuts(joined({signal, hiss(10, quiet)}));
    double covered = 0;
    for (const KeptCut& cut : found) {
        EXPECT_LE(cut.voicedEnd - cut.voicedStart, 20);
        EXPECT_LE(cut.samples.size(), 20.2 * 16000);
        covered += cut.voicedEnd - cut.voicedStart;
    }
    EXPECT_NEAR(covered, 90.8, frame);
}

TEST(VoiceActivity, MemoryDoesNotGrowWithTheFile) {
    std::size_t cutCount = 0;
    VoiceActivity activity([&](const VoiceActivity::Cut&) { ++cutCount; });
    // As long without a pause as a cut can stay open, twice.
    std::vector<float> minute = hiss(18, quiet);
    for (int i = 0; i < 60; ++i) minute = joined({minute, hiss(0.5, loud), hiss(0.2, quiet)});
    std::size_t most = 0;
    for (int i = 0; i < 10; ++i)
        for (std::size_t at = 0; at < minute.size(); at += 1600) {
            activity.push(std::span(minute).subspan(at, 1600));
            most = std::max(most, activity.heldSamples());
        }
    activity.finish();
    EXPECT_GE(cutCount, 20U);
    EXPECT_LE(most, 33U * 16000U);
}

TEST(VoiceActivity, WhatIsNotFiniteCountsAsSilence) {
    auto signal = joined({hiss(3, quiet), hiss(1, loud), hiss(3, quiet)});
    signal[1000] = std::numeric_limits<float>::quiet_NaN();
    signal[50000] = std::numeric_limits<float>::infinity();
    const auto found = cuts(signal);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_DOUBLE_EQ(found[0].voicedStart, 3);
    EXPECT_EQ(found[0].samples[50000 - 46400], 0);
}

} // namespace

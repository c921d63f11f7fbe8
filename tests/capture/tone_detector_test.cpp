#include "capture/tone_detector.h"

#include "capture/test_tone.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>
#include <random>

namespace {

/// So many seconds of a sound, as a function of the time in seconds.
bool hears(double seconds, const std::function<double(double)>& sound) {
    ToneDetector detector;
    for (int i = 0; i < seconds * 48000; ++i) detector.hear(static_cast<float>(sound(i / 48000.0)));
    return detector.hasHeardTone();
}

std::function<double(double)> sine(double frequency, double amplitude, double phase = 0) {
    return [=](double time) { return amplitude * std::sin(2 * std::numbers::pi * frequency * time + phase); };
}

TEST(ToneDetector, HearsTheToneAtAnyVolumeThatCounts) {
    for (const double amplitude : {0.05, 0.03, 0.0006}) EXPECT_TRUE(hears(0.5, sine(18000, amplitude, 1)));
}

TEST(ToneDetector, HearsTheToneThatIsPlayedWhereverItBegins) {
    const std::vector<std::uint8_t> file = testToneFile();
    for (const int silence : {0, 1, 1234, 4799}) {
        ToneDetector detector;
        for (int i = 0; i < silence; ++i) detector.hear(0);
        for (std::size_t i = 44; i + 1 < file.size(); i += 2)
            detector.hear(static_cast<float>(static_cast<std::int16_t>(file[i] | file[i + 1] << 8)) / 32768 *
                          0.6F);
        EXPECT_TRUE(detector.hasHeardTone()) << silence;
    }
}

TEST(ToneDetector, HearsTheToneAmongLoudSounds) {
    std::mt19937 random(1);
    std::normal_distribution<double> noise(0, 0.05);
    EXPECT_TRUE(hears(0.5, [&](double time) {
        return sine(18000, 0.03)(time) + sine(440, 0.5)(time) + sine(3700, 0.3)(time) + noise(random);
    }));
}

TEST(ToneDetector, HearsItInNothingElse) {
    std::mt19937 random(2);
    std::normal_distribution<double> noise(0, 0.3);
    EXPECT_FALSE(hears(0.9, [](double) { return 0.0; }));
    EXPECT_FALSE(hears(0.9, [](double) { return 0.5; }));
    for (int i = 0; i < 100; ++i) EXPECT_FALSE(hears(0.9, [&](double) { return noise(random); }));
    EXPECT_FALSE(hears(0.9, sine(440, 1)));
    EXPECT_FALSE(hears(0.9, sine(17400, 0.5)));
    EXPECT_FALSE(hears(0.9, [](double time) { return std::fmod(time * 220, 1.0) - 0.5; })) << "a sawtooth";
    EXPECT_FALSE(hears(0.15, sine(18000, 0.03))) << "too short";
}

TEST(ToneDetector, SamplesThatAreNoNumberAreSilence) {
    EXPECT_TRUE(hears(0.5, [](double time) {
        return time < 0.01 ? std::numeric_limits<double>::quiet_NaN() : sine(18000, 0.03)(time);
    }));
}

} // namespace

#pragma once

#include "support/spoken_track.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <span>
#include <vector>

/// A microphone in a room with a loudspeaker, for tests of echo removal. 16 kHz mono, full scale 1.

/// How the loudspeaker's sound arrives.
struct Leak {
    double decibels = -10;      ///< relative to what is played, where it is not silent
    double milliseconds = 40;   ///< until the direct sound arrives
    double partsPerMillion = 0; ///< by which the delay grows
};

/// The direct sound, two early reflections, and a hundred late ones that die away by 60 dB in 0.3 s.
inline std::vector<float> reverberated(std::span<const float> dry) {
    struct Reflection {
        std::size_t delay;
        float gain;
    };
    std::vector<Reflection> reflections{{0, 1.0F}, {18, 0.5F}, {59, -0.35F}};
    std::mt19937 generator(5);
    std::normal_distribution<double> gain(0, 0.3);
    for (std::size_t delay = 70; delay < 4000; delay += 25 + generator() % 32)
        reflections.push_back(
            {delay,
             static_cast<float>(gain(generator) * std::pow(10, -3.0 * static_cast<double>(delay) / 4800))});
    std::vector<float> wet(dry.size());
    for (const auto& [delay, amount] : reflections)
        for (std::size_t i = delay; i < wet.size(); ++i) wet[i] += amount * dry[i - delay];
    float low = 0; // a small loudspeaker: little below 200 Hz
    for (float& sample : wet) {
        low += 0.075F * (sample - low);
        sample -= low;
    }
    return wet;
}

/// The sound, later by that many milliseconds and from there on by that many millionths of the time that
/// has passed. Between the samples of the threefold rate a straight line is good enough.
inline std::vector<float> delayed(std::span<const float> sound, double milliseconds, double partsPerMillion) {
    std::vector<float> result(sound.size());
    if (partsPerMillion == 0) {
        const auto shift = std::min(result.size(), static_cast<std::size_t>(std::lround(milliseconds * 16)));
        std::copy(sound.begin(), sound.end() - static_cast<std::ptrdiff_t>(shift),
                  result.begin() + static_cast<std::ptrdiff_t>(shift));
        return result;
    }
    const std::vector<float> fine = atThreefoldRate(sound);
    for (std::size_t i = 0; i < result.size(); ++i) {
        const double place = 3 * (static_cast<double>(i) * (1 - partsPerMillion * 1e-6) - milliseconds * 16);
        const double before = std::floor(place);
        const auto index = static_cast<std::ptrdiff_t>(before);
        if (index < 0 || index + 1 >= std::ssize(fine)) continue;
        const auto fraction = static_cast<float>(place - before);
        result[i] = fine[index] * (1 - fraction) + fine[index + 1] * fraction;
    }
    return result;
}

/// Root mean square of what is not digital silence.
inline float loudness(std::span<const float> samples) {
    double sum = 0;
    std::size_t count = 0;
    for (const float sample : samples) {
        sum += static_cast<double>(sample) * sample;
        count += sample != 0 ? 1 : 0;
    }
    return count == 0 ? 0 : static_cast<float>(std::sqrt(sum / static_cast<double>(count)));
}

/// What the microphone hears of the played sound.
inline std::vector<float> leaked(std::span<const float> played, const Leak& leak) {
    std::vector<float> echo = delayed(reverberated(played), leak.milliseconds, leak.partsPerMillion);
    const float gain =
        static_cast<float>(std::pow(10, leak.decibels / 20)) * loudness(played) / loudness(echo);
    for (float& sample : echo) sample *= gain;
    return echo;
}

/// Sample by sample; the shorter one goes on as silence.
inline std::vector<float> mixed(std::vector<float> sound, std::span<const float> other) {
    sound.resize(std::max(sound.size(), other.size()));
    std::transform(other.begin(), other.end(), sound.begin(), sound.begin(), std::plus<>());
    return sound;
}

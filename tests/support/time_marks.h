#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// Clicks at fixed times of the monotonic clock, twice a second, whose heights tell which is which (modulo 8
/// s): where they come out shows what happened to time on the way. Times are in nanoseconds.
struct TimeMarks {
    double firstAt; ///< within each half second
    float lowest;   ///< height of the first of 16
    float between;  ///< what is heard between the clicks

    static constexpr double period = 0.5e9;
    static constexpr double clickLength = 5e6;
    static constexpr float step = 0.01F;
    static constexpr int count = 16;

    float at(double time) const {
        const double since = time - firstAt;
        const double number = std::floor(since / period);
        if (since - number * period >= clickLength) return between;
        return lowest + step * static_cast<float>(std::fmod(number, count));
    }

    struct Found {
        std::int64_t place; ///< frame at 48 kHz
        int number;         ///< 0 to 15
    };
    /// Where the clicks begin.
    std::vector<Found> in(std::span<const float> samples) const {
        constexpr std::size_t middle = 120; // frames; half of a click
        const float highest = lowest + step * count;
        std::vector<Found> found;
        for (std::size_t i = 1; i + 2 * middle < samples.size(); ++i) {
            if (samples[i - 1] >= lowest / 2 || samples[i] < lowest / 2) continue;
            const float height = samples[i + middle];
            if (height > lowest - step && height < highest)
                found.push_back(
                    {static_cast<std::int64_t>(i), static_cast<int>(std::lround((height - lowest) / step))});
            i += 2 * middle;
        }
        return found;
    }
};

/// What somebody says: never silent.
inline constexpr TimeMarks voiceMarks{0, 0.1F, 0.001F};
/// What an application plays, between those.
inline constexpr TimeMarks playedMarks{0.25e9, 0.4F, 0};

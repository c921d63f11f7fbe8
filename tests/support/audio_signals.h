#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <span>
#include <vector>

/// Signals to record and ways to find them again. Samples are floats of full scale 1.

/// White noise in -amplitude…amplitude, the same for the same seed.
inline std::vector<float> noise(std::size_t count, float amplitude = 0.5F, unsigned seed = 1) {
    std::minstd_rand generator(seed);
    std::vector<float> samples(count);
    for (float& sample : samples) {
        const double unit = static_cast<double>(generator()) / static_cast<double>(std::minstd_rand::max());
        sample = amplitude * static_cast<float>(2.0 * unit - 1.0);
    }
    return samples;
}

/// A sine that sweeps from one frequency to another: its correlation with itself has a single sharp peak.
inline std::vector<float> chirp(std::size_t count, double fromHertz, double toHertz, double rate,
                                float amplitude = 0.5F) {
    std::vector<float> samples(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double t = static_cast<double>(i) / rate;
        const double slope = (toHertz - fromHertz) * rate / static_cast<double>(count);
        samples[i] = amplitude *
                     static_cast<float>(std::sin(2.0 * std::numbers::pi * (fromHertz + 0.5 * slope * t) * t));
    }
    return samples;
}

/// How much `heard` is behind `played`, looked for within `reach` samples either way, and its gain there by
/// least squares.
struct Alignment {
    int offset;
    double gain;
};
inline Alignment align(std::span<const float> played, std::span<const float> heard, int reach) {
    double best = -1.0;
    Alignment result{};
    const auto size = static_cast<std::ptrdiff_t>(std::min(played.size(), heard.size()));
    for (int offset = -reach; offset <= reach; ++offset) {
        double product = 0.0;
        double energy = 0.0;
        for (std::ptrdiff_t i = std::max(0, -offset); i < size - std::max(0, offset); ++i) {
            product += static_cast<double>(played[i]) * heard[i + offset];
            energy += static_cast<double>(played[i]) * played[i];
        }
        if (product > best) {
            best = product;
            result = {offset, product / energy};
        }
    }
    return result;
}

inline double rootMeanSquare(std::span<const float> samples) {
    double sum = 0.0;
    for (const float sample : samples) sum += static_cast<double>(sample) * sample;
    return samples.empty() ? 0.0 : std::sqrt(sum / static_cast<double>(samples.size()));
}

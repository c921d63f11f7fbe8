#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <random>
#include <vector>

/// Sounds for tests of speech detection, 16 kHz mono, full scale 1.

/// `parts` one after the other.
inline std::vector<float> joined(std::initializer_list<std::vector<float>> parts) {
    std::vector<float> all;
    for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

inline std::vector<float> silence(double seconds) {
    return std::vector<float>(static_cast<std::size_t>(std::lround(seconds * 16000)));
}

/// Gaussian noise; the same each time.
inline std::vector<float> hiss(double seconds, float level) {
    std::mt19937 generator(7);
    std::normal_distribution<float> distribution(0, level);
    std::vector<float> samples = silence(seconds);
    for (float& sample : samples) sample = distribution(generator);
    return samples;
}

inline std::vector<float> sine(double seconds, double hertz, float level) {
    std::vector<float> samples = silence(seconds);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = level * static_cast<float>(
                                 std::sin(2 * std::numbers::pi * hertz * static_cast<double>(i) / 16000.0));
    return samples;
}

/// Something like a vowel that glides into another five times a second, at a pitch that wavers around 120 Hz.
inline std::vector<float> babble(double seconds, float level) {
    constexpr double turn = 2 * std::numbers::pi;
    std::vector<float> samples = silence(seconds);
    double phase = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double time = static_cast<double>(i) / 16000.0;
        const double pitch = 120 + 10 * std::sin(turn * 2.3 * time);
        const double formant = 1100 + 700 * std::sin(turn * 5 * time);
        phase += turn * pitch / 16000;
        for (int harmonic = 1; harmonic * pitch < 4000; ++harmonic) {
            const double distance = (harmonic * pitch - formant) / 300;
            samples[i] += level * static_cast<float>(std::sin(harmonic * phase) / (1 + distance * distance));
        }
    }
    return samples;
}

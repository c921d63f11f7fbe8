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

/// Something like a vowel, whose formant swings around `formant` hertz five times a second, at a pitch that
/// wavers around 120 Hz.
inline std::vector<float> vowel(double seconds, float level, double formant, double swing, double width) {
    constexpr double turn = 2 * std::numbers::pi;
    std::vector<float> samples = silence(seconds);
    double phase = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double time = static_cast<double>(i) / 16000.0;
        const double pitch = 120 + 10 * std::sin(turn * 2.3 * time);
        const double peak = formant + swing * std::sin(turn * 5 * time);
        phase += turn * pitch / 16000;
        for (int harmonic = 1; harmonic * pitch < 4000; ++harmonic) {
            const double distance = (harmonic * pitch - peak) / width;
            samples[i] += level * static_cast<float>(std::sin(harmonic * phase) / (1 + distance * distance));
        }
    }
    return samples;
}

/// One vowel that glides into another.
inline std::vector<float> babble(double seconds, float level) {
    return vowel(seconds, level, 1100, 700, 300);
}

/// What the toy models of make_toy_models.py hear as "Hello" and as "Hello there.": 0.8 s and 1.2 s.
inline std::vector<float> toyHello() {
    return joined({vowel(0.4, 0.05F, 500, 150, 150), vowel(0.4, 0.05F, 1200, 150, 150)});
}
inline std::vector<float> toyHelloThere() {
    return joined({toyHello(), vowel(0.4, 0.05F, 2800, 150, 150)});
}

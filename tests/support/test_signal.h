#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// Noise that is the same in every process and exact in 24 bits, so that captured samples can be compared
/// with it bit by bit. Never zero; at most 0.125, so that several add up without clipping.
inline float noiseAt(std::uint64_t index, std::uint64_t seed) {
    std::uint64_t x = (index + 1) * 0x9E3779B97F4A7C15U + seed * 0xD1B54A32D192ED03U; // SplitMix64
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9U;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBU;
    const auto amount = static_cast<int>(x >> 44) + 1;
    return static_cast<float>((x & 1) != 0 ? amount : -amount) / (1 << 23);
}

/// Interleaved noise, different on each channel.
inline std::vector<float> noise(std::size_t frames, std::size_t channels, std::uint64_t seed = 0) {
    std::vector<float> samples(frames * channels);
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = noiseAt(i, seed);
    return samples;
}

/// Where `part` begins in `whole`, each sample within the tolerance.
inline std::optional<std::size_t> positionOf(std::span<const float> part, std::span<const float> whole,
                                             float tolerance = 0) {
    const auto equal = [&](float a, float b) { return std::abs(a - b) <= tolerance; };
    const auto found = std::search(whole.begin(), whole.end(), part.begin(), part.end(), equal);
    if (found == whole.end()) return std::nullopt;
    return static_cast<std::size_t>(found - whole.begin());
}

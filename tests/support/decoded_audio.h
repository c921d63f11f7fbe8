#pragma once

#include "platform/media/audio_reader.h"

#include <filesystem>
#include <vector>

/// A whole audio file in memory, at its own rate.
struct DecodedAudio {
    int sampleRate; ///< hertz
    std::vector<float> left;
    std::vector<float> right;
};

inline DecodedAudio decodeAll(const std::filesystem::path& file) {
    AudioReader reader(file);
    DecodedAudio audio{reader.sampleRate(), {}, {}};
    reader.readAll([&](std::span<const float> left, std::span<const float> right) {
        audio.left.insert(audio.left.end(), left.begin(), left.end());
        audio.right.insert(audio.right.end(), right.begin(), right.end());
    });
    return audio;
}

#pragma once

#include "platform/media/audio_reader.h"
#include "platform/media/decoded_length.h"
#include "platform/posix/regular_file.h"

#include <filesystem>
#include <vector>

/// A whole audio file in memory, at its own rate.
struct DecodedAudio {
    int sampleRate; ///< hertz
    std::vector<float> left;
    std::vector<float> right;
};

inline DecodedAudio decodeAll(const std::filesystem::path& file) {
    AudioReader reader(openRegularFile(file));
    DecodedAudio audio{reader.sampleRate(), {}, {}};
    while (const auto block = reader.next()) {
        audio.left.insert(audio.left.end(), block->left.begin(), block->left.end());
        audio.right.insert(audio.right.end(), block->right.begin(), block->right.end());
    }
    return audio;
}

/// Of a file that was found, not handed over.
inline AudioFileFacts decodedLengthOf(const std::filesystem::path& file) {
    return decodedLength(openRegularFile(file));
}

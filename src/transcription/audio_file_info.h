#pragma once

#include <cstdint>
#include <filesystem>

struct AudioFileFacts {
    std::int64_t frames; ///< sample frames that decoding yields
    double sampleRate;   ///< hertz; 0 or less when the file does not say
};

/// Port: opens a recorded audio file and tells its length. Any thread; blocks for the disk.
class AudioFileInfo {
  public:
    virtual ~AudioFileInfo() = default;
    /// Throws Error when the file cannot be opened as audio.
    virtual AudioFileFacts open(const std::filesystem::path& file) = 0;
};

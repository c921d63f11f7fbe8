#pragma once

#include <cstdint>
#include <filesystem>
#include <stop_token>

struct AudioFileFacts {
    std::int64_t frames; ///< sample frames that decoding yields
    double sampleRate;   ///< hertz; 0 or less when the file does not say
};

/// Port: what is to be known of an audio file before it is transcribed. Any thread; blocks for the disk.
class AudioFileInfo {
  public:
    virtual ~AudioFileInfo() = default;
    /// Throws Error when the file cannot be opened for reading. What is in it is not looked at.
    virtual void open(const std::filesystem::path& file) = 0;
    /// How long it is. Throws Error when it holds no audio that can be read, and soon after a stop request.
    virtual AudioFileFacts facts(const std::filesystem::path& file, const std::stop_token& stop) = 0;
};

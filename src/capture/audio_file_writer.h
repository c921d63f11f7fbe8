#pragma once

#include <cstdint>
#include <filesystem>
#include <future>
#include <memory>
#include <span>

/// Samples in memory: 32-bit float, one array per channel.
struct AudioFormat {
    double sampleRate; ///< hertz
    std::uint32_t channels;

    bool operator==(const AudioFormat&) const = default;
};

/// An MPEG-4 file with AAC audio.
struct AudioFileSettings {
    double sampleRate = 48000.0; ///< hertz
    std::uint32_t channels = 2;
    std::uint32_t bitRate = 128000; ///< bits per second over all channels
};

/// Port: a file that is being recorded. Used by one thread at a time. Destruction closes the file properly.
class AudioFileWriter {
  public:
    virtual ~AudioFileWriter() = default;
    /// What write takes.
    virtual AudioFormat processingFormat() const = 0;
    /// Appends frames; both channels have the same length. Samples that are not finite become silence. Throws
    /// Error when they could not be written; the file then ends with what came before.
    virtual void write(std::span<const float> left, std::span<const float> right) = 0;
    /// How many of the frames written so far would be in the file if the program ended now.
    virtual std::uint64_t storedFrames() const = 0;
    /// Puts into the file what was written so far, but for the few packets that an encoder needs for what
    /// comes next, and asks the disk for it; returns without waiting. The answer is true once the disk has
    /// confirmed, false when it cannot be brought there. Throws Error as write does.
    virtual std::future<bool> bringToDisk() = 0;
};

class AudioFileWriterFactory {
  public:
    virtual ~AudioFileWriterFactory() = default;
    /// Creates a file that must not exist yet. Throws Error.
    virtual std::unique_ptr<AudioFileWriter> create(const std::filesystem::path& file,
                                                    const AudioFileSettings& settings) = 0;
};

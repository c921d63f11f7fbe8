#pragma once

#include "platform/media/mp4_audio_input.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>

/// Decodes a recorded file (see Mp4AudioInput) at its own rate, front to back, in constant memory. Sample 0
/// is sample 0 of what was recorded. Used by one thread at a time; throws Error and never trusts the file.
class AudioReader {
  public:
    explicit AudioReader(const std::filesystem::path& path);

    int sampleRate() const { return m_input.sampleRate(); } ///< hertz
    int channels() const { return m_input.channels(); }     ///< 1 or 2

    /// At most 1024 frames, full scale 1.0, always finite; both are the same when the file is mono. Valid
    /// during the call.
    using Sink = std::function<void(std::span<const float> left, std::span<const float> right)>;

    /// Hands out everything, exactly the frames of the input's pieces. A packet that cannot be decoded
    /// becomes silence of its length, so that what follows stays in its place; about ten seconds of that are
    /// tolerated, and a file of nothing else is not. Passes on what the sink throws. Call once.
    void readAll(const Sink& sink);

  private:
    bool decode(const AVPacket& packet);
    bool isAsAnnounced() const;

    Mp4AudioInput m_input;
    CodecContextHandle m_codec;
    FrameHandle m_frame;
    FrameHandle m_surplus;
};

/// Decodes a recorded file to what speech recognition takes: mono, the mean of the channels, at 16 kHz, full
/// scale 1.0; sample i belongs to the time i / 16000 s of the recording. Blocks of any length, front to back,
/// in constant memory; their sum is the recording's length to within a sample. Any thread. Throws Error as
/// AudioReader does, and passes on what the sink throws.
void decodeTo16kMono(const std::filesystem::path& file,
                     const std::function<void(std::span<const float>)>& sink);

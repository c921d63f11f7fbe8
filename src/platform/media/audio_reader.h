#pragma once

#include "platform/media/mp4_audio_input.h"
#include "platform/media/resampler.h"

#include <functional>
#include <optional>
#include <span>
#include <vector>

/// Decodes a recorded file (see Mp4AudioInput) at its own rate, front to back, in constant memory. Sample 0
/// is sample 0 of what was recorded. Used by one thread at a time; throws Error and never trusts the file.
class AudioReader {
  public:
    explicit AudioReader(FileHandle file);

    int sampleRate() const { return m_input.sampleRate(); } ///< hertz
    int channels() const { return m_input.channels(); }     ///< 1 or 2

    /// 1 to 1024 frames, full scale 1.0, always finite; both channels are the same when the file is mono.
    /// Valid until the next call.
    struct Block {
        std::span<const float> left;
        std::span<const float> right;
    };
    /// Missing at the end of the file. All blocks together are exactly the frames of the input's pieces. A
    /// packet that cannot be decoded becomes silence of its length, so that what follows stays in its place;
    /// about ten seconds of that are tolerated, and a file of nothing else is not.
    std::optional<Block> next();

  private:
    bool decode(const AVPacket& packet);
    bool isAsAnnounced() const;
    void conclude() const;

    Mp4AudioInput m_input;
    CodecContextHandle m_codec;
    FrameHandle m_frame;
    FrameHandle m_surplus;
    int m_decoded = 0; // packets
    int m_failed = 0;
};

/// Decodes a recorded file to what speech recognition takes: mono, the mean of the channels, at 16 kHz, full
/// scale 1.0; sample i belongs to the time i / 16000 s of the recording. Front to back, in constant memory;
/// the sum of the blocks is the recording's length to within a sample. Used by one thread at a time; throws
/// Error as AudioReader does.
class SpeechAudioReader {
  public:
    explicit SpeechAudioReader(FileHandle file);

    /// A block of any length, valid until the next call; empty at the end of the file.
    std::span<const float> next();

  private:
    AudioReader m_reader;
    Resampler m_resampler;
    std::vector<float> m_block;
    bool m_ended = false;
};

/// The same for a whole file: the sink gets every block. Any thread. Passes on what the sink throws.
void decodeTo16kMono(FileHandle file, const std::function<void(std::span<const float>)>& sink);

#pragma once

#include "platform/media/ffmpeg_handles.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

/// One access unit of AAC-LC (ISO/IEC 14496-3).
struct AacPacket {
    std::span<const std::uint8_t> bytes; ///< valid during the call only
    std::int64_t pts;      ///< first sample's number; the encoder's padding lies before sample 0
    std::int64_t duration; ///< samples that count: 1024, in the last packet what is left of the sound
};

/// What a container has to know of the stream.
struct AacStream {
    int sampleRate; ///< hertz
    int channels;
    int bitRate;                                   ///< bits per second over all channels
    int initialPadding;                            ///< samples that decoding yields before the first true one
    std::vector<std::uint8_t> audioSpecificConfig; ///< ISO/IEC 14496-3, 1.6.2.1
};

/// Stereo sound at 48 kHz into AAC-LC at 128 kbit/s. Knows nothing of files. Used by one thread at a time;
/// throws Error when the encoder fails, and passes on what the sink throws.
class AacEncoder {
  public:
    using Sink = std::function<void(const AacPacket&)>;

    static constexpr int sampleRate = 48000; ///< hertz
    static constexpr int channels = 2;
    static constexpr int bitRate = 128000; ///< bits per second

    AacEncoder();

    AacStream stream() const;

    /// Takes any number of frames, the same of both channels, where 1.0 is full scale. Samples that are not
    /// finite become silence. The packets do not depend on how the sound is cut into calls.
    void encode(std::span<const float> left, std::span<const float> right, const Sink& sink);

    /// Emits what is still inside. The durations of all packets with pts >= 0 then sum up to exactly the
    /// number of frames that came in; without any frame there is one packet, of padding alone. Call once,
    /// last.
    void finish(const Sink& sink);

  private:
    void sendFrame();
    void drain(const Sink& sink);

    CodecContextHandle m_codec;
    FrameHandle m_frame; // being filled
    PacketHandle m_packet;
    int m_filled = 0;         // samples in m_frame
    std::int64_t m_taken = 0; // samples handed to the codec
};

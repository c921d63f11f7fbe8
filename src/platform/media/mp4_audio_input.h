#pragma once

#include "platform/media/descriptor_io.h"
#include "platform/media/ffmpeg_handles.h"

#include <cstdint>
#include <optional>

struct AVCodecParameters;

/// The packets of an MPEG-4 file (ISO/IEC 14496-12) with one AAC track, and which of their samples count.
///
/// Trusts nothing in the file: only a regular file is read, only as MPEG-4, only with a single AAC track of
/// one or two channels, and nothing that the file refers to. Used by one thread at a time; throws Error.
class Mp4AudioInput {
  public:
    /// Reads from the beginning, wherever in the file its descriptor stands.
    explicit Mp4AudioInput(FileHandle file);

    int sampleRate() const; ///< hertz, 1 to 96000
    int channels() const;   ///< 1 or 2
    const AVCodecParameters& codec() const;

    /// What a packet adds to the recording: of the 1024 samples to which it decodes, those from `first` on,
    /// `count` of them. Both come from the file's index alone, so that the length of a recording does not
    /// depend on what the decoder makes of a damaged packet.
    struct Piece {
        const AVPacket* packet; ///< valid until the next call; holds at least one byte
        int first;
        int count; ///< 0 for padding, which the decoder needs nevertheless
    };
    /// Missing at the end of the file; a file that was cut off ends with its last whole packet.
    std::optional<Piece> next();

    static constexpr int samplesPerPacket = 1024; ///< AAC-LC

  private:
    void findTrack();
    Piece pieceOfPacket();

    DescriptorIo m_io;
    FormatInputHandle m_format; // after m_io, from which it reads
    PacketHandle m_packet;
    int m_track = -1;
    std::int64_t m_frames = 0; // given out so far
    int m_unreadable = 0;      // packets
};

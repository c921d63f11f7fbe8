#pragma once

#include "platform/media/aac_encoder.h"
#include "platform/media/descriptor_io.h"
#include "platform/media/ffmpeg_handles.h"

#include <cstdint>
#include <filesystem>

/// A new MPEG-4 file with one AAC track (ISO/IEC 14496-12 and -14).
///
/// An edit list leaves out the encoder's padding, so that what plays begins with the first true sample and
/// has exactly the length of the packets' durations. The index comes last: a file that was not finished,
/// because the disk was full or the process ended, cannot be played. Used by one thread at a time.
class Mp4File {
  public:
    /// Creates the file and writes its head. Throws Error, of domain "posix" where the system refused: EEXIST
    /// when something of that name is there, which stays as it is. A file that was made and could not be
    /// written is removed again.
    Mp4File(const std::filesystem::path& path, const AacStream& stream);
    /// Closes. Without a finish the file cannot be played.
    ~Mp4File() = default;
    Mp4File(const Mp4File&) = delete;
    Mp4File& operator=(const Mp4File&) = delete;

    /// In the order of their pts, without gaps. Throws Error; what the disk refuses may belong to an
    /// earlier packet, because FFmpeg gathers its writes.
    void append(const AacPacket& packet);
    /// Writes the index and closes. Throws Error. Call once, last.
    void finish();

  private:
    void writeHead(const AacStream& stream);
    void confirm(int result);

    DescriptorIo m_io;
    FormatOutputHandle m_format; // after m_io, to which it writes
    PacketHandle m_packet;
};

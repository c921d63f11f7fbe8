#pragma once

#include "platform/media/aac_encoder.h"

#include <filesystem>

struct AVFormatContext;
struct AVStream;

/// The rival of Mp4TrackWriter: libavformat's fragmented MPEG-4 file with a fragment a second, which a crash
/// leaves readable as well, and which becomes an ordinary file by a copy at the end. Nothing is brought to
/// the disk before that.
class FragmentedLibraryFile {
  public:
    FragmentedLibraryFile(std::filesystem::path path, const AacStream& stream);
    ~FragmentedLibraryFile();
    FragmentedLibraryFile(const FragmentedLibraryFile&) = delete;
    FragmentedLibraryFile& operator=(const FragmentedLibraryFile&) = delete;

    void append(const AacPacket& packet);
    /// The copy takes the place of the fragmented file once it is on the disk.
    void finish();

  private:
    void copyTo(const std::filesystem::path& copy) const;

    const std::filesystem::path m_path;
    AVFormatContext* m_output = nullptr;
    const PacketHandle m_packet;
};

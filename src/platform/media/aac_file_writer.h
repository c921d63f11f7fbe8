#pragma once

#include "capture/audio_file_writer.h"
#include "platform/media/write_troubles.h"
#include "platform/posix/file_calls.h"

#include <memory>

/// Makes MPEG-4 files (ISO/IEC 14496-14) with AAC-LC (ISO/IEC 14496-3) at 48 kHz, stereo, 128 kbit/s, that
/// survive the end of the program at any moment (see Mp4TrackWriter); any other settings are an Error.
///
/// Errors of the system have the domain "posix": EEXIST, ENOENT, EACCES, ENOSPC and so on. A file decodes to
/// exactly the frames written, beginning with the first; one that was closed without a frame is a valid file
/// of length 0. When nothing more can be stored the file is closed at once, ordinary and with everything up
/// to there, and the user is told; this write and every later one fails with the same Error. Closing never
/// throws and never waits for the disk.
///
/// Whichever goes last, the factory or one of its files, waits until all of them are on the disk; notice and
/// calls must be there until then. Any thread.
class AacFileWriterFactory final : public AudioFileWriterFactory {
  public:
    explicit AacFileWriterFactory(WriteTroubles::Notice notice = {}, FileCalls& calls = systemFileCalls());

    std::unique_ptr<AudioFileWriter> create(const std::filesystem::path& file,
                                            const AudioFileSettings& settings) override;

  private:
    class File;
    struct Storage;
    const std::shared_ptr<Storage> m_storage; // shared with the files
};

#pragma once

#include "capture/audio_file_writer.h"

/// Makes MPEG-4 files (ISO/IEC 14496-14) with AAC-LC (ISO/IEC 14496-3) at 48 kHz, stereo, 128 kbit/s; any
/// other settings are an Error.
///
/// Errors of the system have the domain "posix": EEXIST, ENOENT, EACCES, ENOSPC and so on. A file decodes to
/// exactly the frames written, beginning with the first; one that was closed without a frame is a valid file
/// of length 0. After a failed write every later write fails with the same Error, and the file cannot be
/// played (see Mp4File). Closing never throws: what goes wrong there is a line in the debug log.
class AacFileWriterFactory final : public AudioFileWriterFactory {
  public:
    std::unique_ptr<AudioFileWriter> create(const std::filesystem::path& file,
                                            const AudioFileSettings& settings) override;
};

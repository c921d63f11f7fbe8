#pragma once

#include "transcription/audio_file_info.h"

/// Walks through the packets of an MPEG-4 file (see Mp4AudioInput) without decoding them, so that the length
/// is the one that AudioReader yields for every file that can be read: truncated, fragmented, of other
/// programs. A file without a sample rate is an Error. Two hours of sound take about 0.2 s once they are in
/// memory.
class Mp4FileInfo final : public AudioFileInfo {
  public:
    AudioFileFacts open(const std::filesystem::path& file) override;
};

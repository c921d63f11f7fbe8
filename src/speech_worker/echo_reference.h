#pragma once

#include "platform/media/audio_reader.h"

#include <optional>
#include <span>
#include <string>

/// The system track of a recording, as a reference that must not cost the transcript: when it can't be read
/// (any further), it ends, and one line on standard error says why.
class EchoReference {
  public:
    explicit EchoReference(FileHandle file);

    /// 16 kHz mono, any number of samples, valid until the next call; empty at the end.
    std::span<const float> next();

  private:
    FileHandle m_file;                         ///< until the first call
    std::optional<SpeechAudioReader> m_reader; ///< missing before the first call
    bool m_begun = false;
    bool m_ended = false;
};

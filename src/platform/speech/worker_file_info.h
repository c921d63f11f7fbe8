#pragma once

#include "platform/posix/file_handle.h"
#include "transcription/audio_file_info.h"

#include <filesystem>
#include <functional>
#include <optional>

/// The length of a file of our own is looked up, that of any other is told by a worker program in its
/// sandbox: only that one has FFmpeg read a file that may be made to do harm. Any thread.
class WorkerFileInfo final : public AudioFileInfo {
  public:
    /// Looks a file of our own up; nothing for any other.
    using OwnFiles = std::function<std::optional<AudioFileFacts>(const std::filesystem::path& file)>;

    WorkerFileInfo(std::filesystem::path worker, OwnFiles ownFiles);

    void open(const std::filesystem::path& file) override;
    /// Throws Error "engine" with a code of EngineFailure as well. One line of the log says why, unless the
    /// worker found no audio in the file or was stopped.
    AudioFileFacts facts(const std::filesystem::path& file, const std::stop_token& stop) override;

  private:
    AudioFileFacts askWorker(FileHandle file, const std::stop_token& stop) const;

    const std::filesystem::path m_worker;
    const OwnFiles m_ownFiles;
};

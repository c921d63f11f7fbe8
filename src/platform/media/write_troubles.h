#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>

class Error;

/// Says that a recording is or may be no longer stored: in the debug log for each file; for each recording,
/// which is a folder, the user is warned once and told its end once. Any thread.
class WriteTroubles {
  public:
    /// Gets a sentence for the user, on the thread that met the trouble; must not block.
    using Notice = std::function<void(const std::string& sentence)>;

    explicit WriteTroubles(Notice notice);

    /// The file was closed before its recording ended, with so many frames in it.
    void fileEnded(const std::filesystem::path& file, const Error& reason, std::uint64_t frames);
    /// The file could not be closed in the way it should be.
    void closingFailed(const std::filesystem::path& file, const Error& reason);
    /// The file is written, but does not reach the disk (see SyncThread::FailureHandler).
    void notOnDisk(const std::filesystem::path& file, const Error& reason);

  private:
    /// Both tell the user, unless they have done so for this recording; after its end there is no warning.
    void warn(const std::filesystem::path& file, const std::string& sentence);
    void tellEnd(const std::filesystem::path& file, const std::string& sentence);

    const Notice m_notice;
    std::mutex m_mutex;
    std::filesystem::path m_warned; // folder of the last recording that the user was warned about; guarded
    std::filesystem::path m_ended;  // folder of the last one whose end the user was told; guarded
};

#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>

class Error;

/// Says that a recording can no longer be stored: in the debug log for each file, and once for each
/// recording, which is a folder, to the user. Any thread.
class WriteTroubles {
  public:
    /// Gets a sentence for the user, on the thread that met the trouble; must not block.
    using Notice = std::function<void(const std::string& sentence)>;

    explicit WriteTroubles(Notice notice);

    /// The file was closed before its recording ended, with so many frames in it.
    void fileEnded(const std::filesystem::path& file, const Error& reason, std::uint64_t frames);
    /// The file could not be closed in the way it should be.
    void closingFailed(const std::filesystem::path& file, const Error& reason);
    /// The file is written, but the disk does not confirm it.
    void notOnDisk(const std::filesystem::path& file, const Error& reason);

  private:
    void tell(const std::filesystem::path& file, const std::string& sentence);

    const Notice m_notice;
    std::mutex m_mutex;
    std::filesystem::path m_told; // folder of the last recording that the user was told about; guarded
};

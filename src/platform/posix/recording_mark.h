#pragma once

#include <atomic>
#include <filesystem>
#include <memory>
#include <utility>

/// Whether any Murmelo of this user records: each recording holds a lock on one file, which ends with its
/// process at the latest. Any thread; nothing waits and nothing throws. Where the file cannot be used this
/// process alone is known.
class RecordingMark {
  public:
    /// The file is made when it is needed, and stays. Without a path there is none.
    explicit RecordingMark(std::filesystem::path file) : m_file(std::move(file)) {}
    ~RecordingMark() = default;
    RecordingMark(const RecordingMark&) = delete;
    RecordingMark& operator=(const RecordingMark&) = delete;

    /// A recording runs for as long as the result exists, which the mark outlives.
    std::shared_ptr<void> hold();
    /// Asks the system anew each time.
    bool isHeld() const;

    /// murmelo-recording.lock in $XDG_RUNTIME_DIR; empty where there is no such folder.
    static std::filesystem::path usualFile();

  private:
    struct Held;

    const std::filesystem::path m_file;
    std::atomic<int> m_held = 0; // by this process
};

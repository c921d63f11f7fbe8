#pragma once

#include "base/debug_log.h"
#include "support/temporary_folder.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// Sends the debug log of this scope into a temporary home and keeps the messages, in order.
/// Make it before the threads that log and destroy it after them.
class LogCapture {
  public:
    LogCapture()
        : m_previous(DebugLog::replaceSurroundings({m_home.path(), [this] { return time; },
                                                    [this](std::string_view message) {
                                                        const std::lock_guard lock(m_mutex);
                                                        m_messages.emplace_back(message);
                                                    }})) {}
    ~LogCapture() { DebugLog::replaceSurroundings(std::move(m_previous)); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> messages() const {
        const std::lock_guard lock(m_mutex);
        return m_messages;
    }
    void clear() {
        const std::lock_guard lock(m_mutex);
        m_messages.clear();
    }
    const std::filesystem::path& home() const { return m_home.path(); }

    /// What the log takes for the current time.
    std::chrono::system_clock::time_point time{std::chrono::seconds(1794778758)}; // 2026-11-15 21:39:18 UTC

  private:
    TemporaryFolder m_home;
    mutable std::mutex m_mutex;
    std::vector<std::string> m_messages;
    DebugLog::Surroundings m_previous;
};

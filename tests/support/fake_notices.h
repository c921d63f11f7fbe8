#pragma once

#include "capture/notices.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

/// Keeps what the user was told. Any thread.
class FakeNotices final : public Notices {
  public:
    void tell(const std::string& sentence) override {
        const std::lock_guard lock(m_mutex);
        m_told.push_back(sentence);
        m_changed.notify_all();
    }
    /// Waits until something was told; generous, only a hang reaches the limit.
    void waitForFirst() const {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, std::chrono::minutes(1), [this] { return !m_told.empty(); });
    }
    std::vector<std::string> told() const {
        const std::lock_guard lock(m_mutex);
        return m_told;
    }

  private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::vector<std::string> m_told;
};

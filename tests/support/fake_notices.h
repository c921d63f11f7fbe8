#pragma once

#include "capture/notices.h"

#include <mutex>
#include <string>
#include <vector>

/// Keeps what the user was told. Any thread.
class FakeNotices final : public Notices {
  public:
    void tell(const std::string& sentence) override {
        const std::lock_guard lock(m_mutex);
        m_told.push_back(sentence);
    }
    std::vector<std::string> told() const {
        const std::lock_guard lock(m_mutex);
        return m_told;
    }

  private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_told;
};

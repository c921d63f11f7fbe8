#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// The order in which fakes were called, over all fakes of a test. Any thread.
class CallJournal {
  public:
    void note(std::string call) {
        const std::lock_guard lock(m_mutex);
        m_calls.push_back(std::move(call));
    }
    std::vector<std::string> calls() const {
        const std::lock_guard lock(m_mutex);
        return m_calls;
    }
    void clear() {
        const std::lock_guard lock(m_mutex);
        m_calls.clear();
    }

  private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_calls;
};

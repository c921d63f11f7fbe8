#pragma once

#include "platform/posix/file_calls.h"

#include <condition_variable>
#include <mutex>

/// The real calls, of which those that reach the disk can be made to wait. Any thread.
class StallingCalls : public FileCalls {
  public:
    enum class What { nothing, syncs, writesAndSyncs };
    void stall(What what) {
        const std::lock_guard lock(m_mutex);
        m_stalled = what;
    }
    void goOn() {
        const std::lock_guard lock(m_mutex);
        m_stalled = What::nothing;
        m_changed.notify_all();
    }
    /// Returns when a call waits.
    void waitUntilStuck() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_waiting > 0; });
    }

    int fdatasync(int) override { return wait(What::syncs); }
    int fsync(int) override { return wait(What::syncs); }
    ssize_t pwrite(int file, const void* bytes, std::size_t count, off_t at) override {
        wait(What::writesAndSyncs);
        return FileCalls::pwrite(file, bytes, count, at);
    }

  private:
    int wait(What least) {
        std::unique_lock lock(m_mutex);
        if (m_stalled < least) return 0;
        ++m_waiting;
        m_changed.notify_all();
        m_changed.wait(lock, [&] { return m_stalled < least; });
        --m_waiting;
        return 0;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    What m_stalled = What::nothing;
    int m_waiting = 0;
};

#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

/// Keeps what a capture delivers and lets the test wait for it.
class BlockCollector {
  public:
    /// The capture's thread.
    void add(std::span<const float> block) {
        {
            const std::lock_guard lock(m_mutex);
            m_samples.insert(m_samples.end(), block.begin(), block.end());
            m_blocks += 1;
            m_overlapped = m_overlapped || (m_blocks > 1 && m_thread != std::this_thread::get_id());
            m_thread = std::this_thread::get_id();
        }
        m_more.notify_all();
    }

    using Samples = std::vector<float>;
    /// Waits until the samples so far satisfy the condition; false after a generous limit.
    bool waitUntil(const std::function<bool(const Samples&)>& holds) {
        std::unique_lock lock(m_mutex);
        return m_more.wait_for(lock, std::chrono::seconds(30), [&] { return holds(m_samples); });
    }
    bool waitForSamples(std::size_t count) {
        return waitUntil([&](const Samples& samples) { return samples.size() >= count; });
    }
    /// Waits for that many samples more than there are now.
    bool waitForMore(std::size_t count) { return waitForSamples(samples().size() + count); }

    Samples samples() const {
        const std::lock_guard lock(m_mutex);
        return m_samples;
    }
    std::size_t blocks() const {
        const std::lock_guard lock(m_mutex);
        return m_blocks;
    }
    /// Whether more than one thread delivered.
    bool cameFromSeveralThreads() const {
        const std::lock_guard lock(m_mutex);
        return m_overlapped;
    }

  private:
    mutable std::mutex m_mutex;
    std::condition_variable m_more;
    Samples m_samples;
    std::size_t m_blocks = 0;
    std::thread::id m_thread;
    bool m_overlapped = false;
};

#pragma once

#include <cstddef>
#include <mutex>
#include <span>
#include <vector>

/// System audio on its way to the mix: two channels of equal length, at most five seconds.
///
/// One thread appends, another takes; the lock is held for a copy only. Memory is taken once.
class SystemFifo {
  public:
    static constexpr std::size_t fifoCap = 240000; ///< samples per channel; 5 s at 48 kHz

    SystemFifo();

    /// Adds samples; both spans have the same length. Beyond the cap the oldest samples are dropped.
    void append(std::span<const float> left, std::span<const float> right);
    /// Fills both spans (of the same length) with the oldest samples, then with zeros where there are not
    /// enough. Returns how many samples were there.
    std::size_t take(std::span<float> left, std::span<float> right);
    void clear();
    /// Samples per channel.
    std::size_t size() const;

  private:
    void removeOldest(std::size_t count);

    mutable std::mutex m_fifoLock;
    // What waits begins at the front, so that no more memory is touched than ever had to wait: next to
    // nothing, unless the microphone is silent.
    std::vector<float> m_left, m_right;
};

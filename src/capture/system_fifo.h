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

    /// Adds samples; both spans have the same length. Beyond the cap the oldest samples are dropped.
    void append(std::span<const float> left, std::span<const float> right);
    /// Fills both spans (of the same length) with the oldest samples, then with zeros where there are not
    /// enough. Returns how many samples were there.
    std::size_t take(std::span<float> left, std::span<float> right);
    void clear();
    /// Samples per channel.
    std::size_t size() const;

  private:
    class Ring {
      public:
        void write(std::size_t position, std::span<const float> samples);
        void read(std::size_t position, std::span<float> samples) const;

      private:
        std::vector<float> m_samples = std::vector<float>(fifoCap);
    };

    mutable std::mutex m_fifoLock;
    Ring m_left, m_right;
    // Positions count up for ever; the place in memory is the position modulo the cap.
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

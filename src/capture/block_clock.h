#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

/// Follows the times of one source's blocks and tells real gaps from a clock that merely runs a little fast
/// or slow. Times are on the monotonic clock; counts are frames at 48 kHz.
class BlockClock {
  public:
    using Time = std::chrono::nanoseconds;

    static constexpr Time gapLimit = std::chrono::milliseconds(10);

    /// The nearest number of frames.
    static constexpr std::int64_t frames(Time time) {
        return (time.count() * 6 + (time.count() < 0 ? -62'500 : 62'500)) / 125'000;
    }
    static constexpr Time duration(std::int64_t frames) { return Time(frames * 125'000 / 6); }

    /// The next block is expected at this time.
    void expect(Time start);
    /// Takes the next block. Returns the frames that are missing before it when it is late beyond the limit,
    /// else 0. Negative when the blocks after a gap come early: then the gap was a mere delay, and that many
    /// frames of it must be given back.
    std::int64_t place(Time start, std::size_t frames);
    /// When the next block is due.
    Time end() const { return m_end; }

  private:
    Time m_end{0};
    std::int64_t m_lastGap = 0; // frames that may turn out to have been a delay
};

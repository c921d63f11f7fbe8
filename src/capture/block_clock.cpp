#include "capture/block_clock.h"

#include <algorithm>

namespace {

/// How soon a lasting change is believed. Single late blocks do not count as drift, and lost cycles shorter
/// than the limit that follow each other add up until they exceed it.
constexpr BlockClock::Time adaption = std::chrono::milliseconds(500);

} // namespace

void BlockClock::expect(Time start) {
    m_end = start;
    m_lastGap = 0;
}

std::int64_t BlockClock::place(Time start, std::size_t count) {
    const Time length = duration(static_cast<std::int64_t>(count));
    const Time late = start - m_end;
    std::int64_t missing = 0;
    if (late > gapLimit) {
        missing = frames(late);
        m_lastGap = missing;
        m_end = start;
    } else if (late < -gapLimit && m_lastGap > 0) {
        missing = -std::min(frames(-late), m_lastGap);
        m_lastGap += missing;
        m_end = start;
    } else if (late < -gapLimit) {
        m_end = start; // the clock was wrong before; sound is never dropped for that
    } else {
        m_lastGap = 0;
        m_end += late * std::min(length, adaption).count() / adaption.count();
    }
    m_end += length;
    return missing;
}

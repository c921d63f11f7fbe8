#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

/// The monotonic clock without the stretches in which the whole process stood still, frozen or in a debugger:
/// nobody expects silence for those. It is told every time that anybody notes, several a second; a longer
/// jump is such a stretch. Pure arithmetic.
class AwakeTime {
  public:
    using Time = std::chrono::nanoseconds;

    /// A shorter pause is a gap in the recording like any other.
    static constexpr Time longestPause = std::chrono::seconds(60);

    /// Times may come a little out of order. Those within a standstill become its beginning.
    Time of(Time time) {
        if (m_latest && time - *m_latest > longestPause) {
            m_stopped = *m_latest;
            m_resumed = time;
            m_takenOutBefore = m_takenOut;
            m_takenOut += m_resumed - m_stopped;
        }
        m_latest = std::max(m_latest.value_or(time), time);
        if (time >= m_resumed) return time - m_takenOut;
        return std::min(time, m_stopped) - m_takenOutBefore;
    }

    /// The length of all standstills so far.
    Time takenOut() const { return m_takenOut; }

  private:
    std::optional<Time> m_latest;
    Time m_stopped{0}; // the last standstill
    Time m_resumed = Time::min();
    Time m_takenOutBefore{0};
    Time m_takenOut{0};
};

#pragma once

#include <algorithm>
#include <limits>
#include <utility>

/// Keeps the highest value that a level has had since views were last told of it, so that a level told less
/// often than it changes loses no peak. It does not keep the present value, which is handed to each call.
class LevelPeak {
  public:
    /// `value` is about to be replaced by another one.
    void leave(float value) {
        if (!std::exchange(m_presentIsTold, false)) m_highest = std::max(m_highest, value);
    }
    /// What views are to be told while `value` is the present one.
    float with(float value) const { return m_highest > value ? m_highest : value; }
    /// Views have been told with(value). True: that was a peak, and `value` itself is still to be told.
    bool tell(float value) {
        m_presentIsTold = true;
        return std::exchange(m_highest, nothing) > value;
    }

  private:
    static constexpr float nothing = -std::numeric_limits<float>::infinity();

    float m_highest = nothing;
    bool m_presentIsTold = true;
};

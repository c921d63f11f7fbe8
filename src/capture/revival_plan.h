#pragma once

#include <algorithm>

/// Says when a source that gives nothing is to be opened again, in rounds of a lookout (four a second). One
/// that could not be opened is tried again every second; one that could gets longer each time to give its
/// first block. Pure arithmetic.
class RevivalPlan {
  public:
    /// One round, in which the source gave something or not. True: open it again, now.
    bool round(bool gave) {
        if (gave) {
            m_silent = 0;
            m_patience = m_grown = shortest;
            return false;
        }
        if (++m_silent < m_patience) return false;
        m_silent = 0;
        return true;
    }
    void opened() {
        m_patience = m_grown;
        m_grown = std::min(2 * m_grown, longest);
    }
    void notOpened() { m_patience = shortest; }

  private:
    static constexpr int shortest = 4;
    static constexpr int longest = 16;

    int m_silent = 0;
    int m_patience = longest; // of the first: a headset may have to change its profile
    int m_grown = shortest;
};

#pragma once

#include <optional>

/// Watches whether a source lives, in rounds of a lookout: rounds stand still when the process does, clocks
/// do not. Says what is worth telling, once for each event and never in a hurry. Pure arithmetic.
class SourceVitals {
  public:
    enum class Event {
        neverCame, ///< nothing since the beginning
        came,      ///< after all
        lost,      ///< nothing any more
        back,
        mute, ///< nothing but zeros; once
        audible
    };

    static constexpr int roundsPerSecond = 4;
    static constexpr int lostAfter = roundsPerSecond;
    static constexpr int neverCameAfter = 8 * roundsPerSecond;
    static constexpr int muteAfter = 30 * roundsPerSecond;
    /// A source that comes and goes is not reported more often than this.
    static constexpr int pauseAfterEvent = 5 * roundsPerSecond;

    /// One round, in which the source gave something, and something else than zeros.
    std::optional<Event> round(bool gave, bool sounded) {
        ++m_sinceEvent;
        m_hasCome = m_hasCome || gave;
        m_quiet = gave ? 0 : m_quiet + 1;
        if (sounded || m_quiet >= lostAfter)
            m_zeros = 0;
        else if (gave)
            ++m_zeros;
        return change(state());
    }

  private:
    enum class State { alive, missing, lost, mute };

    State state() const {
        if (!m_hasCome) return m_quiet >= neverCameAfter ? State::missing : State::alive;
        if (m_quiet >= lostAfter) return State::lost;
        if (m_told == State::mute) return m_zeros > 0 ? State::mute : State::alive;
        return m_zeros >= muteAfter && !m_wasMute ? State::mute : State::alive;
    }

    std::optional<Event> change(State now) {
        const bool isPause = m_sinceEvent <= pauseAfterEvent && now != State::alive;
        if (now == m_told || isPause) return std::nullopt;
        m_sinceEvent = 0;
        const State before = m_told;
        m_told = now;
        switch (now) {
        case State::missing:
            return Event::neverCame;
        case State::lost:
            return Event::lost;
        case State::mute:
            m_wasMute = true;
            return Event::mute;
        case State::alive:
            break;
        }
        if (before == State::missing) return Event::came;
        return before == State::mute ? Event::audible : Event::back;
    }

    bool m_hasCome = false;
    bool m_wasMute = false;
    int m_quiet = 0; // rounds without anything, in a row
    int m_zeros = 0; // rounds with nothing but zeros, in a row
    int m_sinceEvent = pauseAfterEvent;
    State m_told = State::alive;
};

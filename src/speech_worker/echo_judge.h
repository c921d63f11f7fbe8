#pragma once

#include <cstddef>
#include <deque>
#include <span>

/// Remembers how much the canceller took away, because a recogniser understands the little that it leaves:
/// a word of which almost all the energy went was no word of the user's. 16 kHz mono.
class EchoJudge {
  public:
    /// What went into the canceller and what came out, the same time of each, one after the other. At
    /// least the last 60 s are remembered.
    void add(std::span<const float> before, std::span<const float> after);

    /// Whether the sound between the two times, in seconds from the first sample, lost at least 8 dB.
    /// Exact to 10 ms; false for what is not remembered.
    bool isEcho(double start, double end) const;

  private:
    struct Energies {
        double before;
        double after;
    };
    std::deque<Energies> m_frames; ///< of 10 ms each, from frame m_forgotten on
    std::size_t m_forgotten = 0;
    std::size_t m_lastFrameLength = 0; ///< samples in the last frame
};

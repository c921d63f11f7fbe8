#pragma once

#include <array>
#include <complex>
#include <cstddef>

/// Whether audio at 48 kHz contains the tone of testToneFile, which may be as quiet as that of an application
/// whose volume was turned down, and among other sounds. One thread.
class ToneDetector {
  public:
    /// One sample, of one channel.
    void hear(float sample);
    /// True once it was heard for two tenths of a second. Noise does not reach that.
    bool hasHeardTone() const { return m_windowsWithTone >= 2; }

  private:
    /// The tone's frequency, and one on each side that it does not reach.
    static constexpr std::size_t probes = 3;

    void endWindow();

    std::array<std::complex<double>, probes> m_sums{};
    std::size_t m_heard = 0; // samples of the window
    int m_windowsWithTone = 0;
};

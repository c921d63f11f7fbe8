#include "capture/tone_detector.h"

#include "capture/test_tone.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace {

constexpr double sampleRate = 48000;     // hertz
constexpr std::size_t windowSize = 4800; // samples: a tenth of a second

constexpr double sideDistance = 500;    // hertz
constexpr double leastAmplitude = 1e-4; // less is not heard at all
constexpr double leastRatio = 8;        // to the louder side: noise is about as loud there as in the middle

using Waves = std::array<std::vector<std::complex<double>>, 3>;

/// What a window is multiplied with: the absolute value of the sum is the amplitude at that frequency. A Hann
/// window keeps loud low sounds from reaching into it.
std::vector<std::complex<double>> wave(double frequency) {
    constexpr double turn = 2 * std::numbers::pi;
    std::vector<std::complex<double>> values;
    values.reserve(windowSize);
    for (std::size_t i = 0; i < windowSize; ++i) {
        const auto at = static_cast<double>(i);
        const double weight = (1 - std::cos(turn * at / windowSize)) * 2 / windowSize;
        values.push_back(std::polar(weight, -turn * frequency * at / sampleRate));
    }
    return values;
}

const Waves& waves() {
    static const Waves made{wave(testToneFrequency), wave(testToneFrequency - sideDistance),
                            wave(testToneFrequency + sideDistance)};
    return made;
}

} // namespace

void ToneDetector::hear(float sample) {
    const double value = std::isfinite(sample) ? sample : 0;
    for (std::size_t probe = 0; probe < probes; ++probe) m_sums[probe] += value * waves()[probe][m_heard];
    if (++m_heard == windowSize) endWindow();
}

void ToneDetector::endWindow() {
    const double tone = std::abs(m_sums[0]);
    const double sides = std::max(std::abs(m_sums[1]), std::abs(m_sums[2]));
    if (tone > leastAmplitude && tone > leastRatio * sides) ++m_windowsWithTone;
    m_sums = {};
    m_heard = 0;
}

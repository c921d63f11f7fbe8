#include "speech_worker/echo_delay.h"

#include "platform/media/fourier_transform.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <iterator>
#include <numbers>
#include <numeric>

namespace {

constexpr double sampleRate = 16000;
constexpr std::ptrdiff_t longestDelay = 8000; // samples, either way
constexpr double shortestEcho = -0.002;       // seconds
constexpr std::size_t firstBin = 300 * echoBlock / 16000;
constexpr std::size_t lastBin = 4000 * echoBlock / 16000;
// The peak of a correlation over its standard deviation. Chance reaches 4.5 among so many delays; voices of
// one synthesiser, which share its noise, 11 in a block, each block at another delay.
constexpr double plainInStretch = 8;
constexpr double plainInBlock = 6;
constexpr double furthestApart = 0.002; // seconds between two blocks of one echo: a stretch drifts by 1 ms
constexpr float quietestPlayed = 1e-6F; // mean square: -60 dB

using Correlation = std::vector<float>; // by delay in samples, from -longestDelay on

float meanSquare(std::span<const float> samples) {
    return std::inner_product(samples.begin(), samples.end(), samples.begin(), 0.0F) /
           static_cast<float>(samples.size());
}

using Spectrum = std::vector<std::complex<float>>;

/// Without it a strong tone would spread over all frequencies, in step with any other tone.
const std::vector<float>& hannWindow() {
    static const auto window = [] {
        std::vector<float> values(echoBlock);
        for (std::size_t i = 0; i < echoBlock; ++i)
            values[i] = static_cast<float>(
                0.5 - 0.5 * std::cos(2 * std::numbers::pi * (static_cast<double>(i) + 0.5) / echoBlock));
        return values;
    }();
    return window;
}

Spectrum spectrumOf(std::span<const float> block, FourierTransform& transform) {
    Spectrum spectrum(echoBlock);
    std::transform(block.begin(), block.end(), hannWindow().begin(), spectrum.begin(), std::multiplies<>());
    transform(spectrum);
    return spectrum;
}

Correlation correlate(std::span<const float> microphone, std::span<const float> system,
                      FourierTransform& transform) {
    const Spectrum heard = spectrumOf(microphone, transform);
    const Spectrum played = spectrumOf(system, transform);
    Spectrum phases(echoBlock);
    for (std::size_t bin = firstBin; bin < lastBin; ++bin) {
        const std::complex<float> product = std::conj(heard[bin]) * played[bin];
        const float magnitude = std::abs(product);
        if (magnitude > 0) phases[bin] = product / magnitude;
    }
    transform(phases); // of the conjugate: the inverse transform, as far as the real part tells
    std::rotate(phases.begin(), phases.end() - longestDelay, phases.end());
    Correlation correlation(2 * longestDelay);
    std::transform(phases.begin(), phases.begin() + std::ssize(correlation), correlation.begin(),
                   [](const std::complex<float>& value) { return value.real(); });
    return correlation;
}

struct Peak {
    double delay; // seconds
    double sharpness;
};

/// Where between its neighbours the peak is highest, in samples: the top of the parabola through the three.
double betweenSamples(const Correlation& correlation, Correlation::const_iterator peak) {
    if (peak == correlation.begin() || peak + 1 == correlation.end()) return 0;
    const double before = *(peak - 1);
    const double behind = *(peak + 1);
    const double curvature = before - 2.0 * *peak + behind;
    return curvature < 0 ? 0.5 * (before - behind) / curvature : 0;
}

Peak peakOf(const Correlation& correlation) {
    double sum = 0;
    double squares = 0;
    for (const float value : correlation) {
        sum += value;
        squares += static_cast<double>(value) * value;
    }
    const auto count = static_cast<double>(correlation.size());
    const double mean = sum / count;
    const double deviation = std::sqrt(std::max(0.0, squares / count - mean * mean));
    const auto peak = std::max_element(correlation.begin(), correlation.end());
    const auto samples = static_cast<double>(peak - correlation.begin() - longestDelay);
    return {(samples + betweenSamples(correlation, peak)) / sampleRate,
            deviation > 0 ? *peak / deviation : 0};
}

/// Two blocks tell the same delay. A drift can blur the stretch as a whole.
bool agree(std::span<const EchoDelay> delays) {
    for (auto one = delays.begin(); one != delays.end(); ++one)
        if (std::any_of(one + 1, delays.end(), [&](const EchoDelay& other) {
                return std::abs(other.delay - one->delay) < furthestApart;
            }))
            return true;
    return false;
}

} // namespace

std::vector<EchoDelay> echoDelays(std::span<const float> microphone, std::span<const float> system) {
    std::vector<EchoDelay> delays;
    FourierTransform transform(echoBlock);
    Correlation whole(2 * longestDelay);
    for (std::size_t at = 0; at + echoBlock <= std::min(microphone.size(), system.size()); at += echoBlock) {
        const std::span<const float> heard = microphone.subspan(at, echoBlock);
        const std::span<const float> played = system.subspan(at, echoBlock);
        if (meanSquare(played) < quietestPlayed) continue;
        const Correlation correlation = correlate(heard, played, transform);
        const Peak peak = peakOf(correlation);
        if (peak.delay < shortestEcho) continue;
        std::transform(whole.begin(), whole.end(), correlation.begin(), whole.begin(), std::plus<>());
        if (peak.sharpness > plainInBlock)
            delays.push_back({(static_cast<double>(at) + echoBlock / 2.0) / sampleRate, peak.delay});
    }
    if (!agree(delays) && peakOf(whole).sharpness <= plainInStretch) delays.clear();
    return delays;
}

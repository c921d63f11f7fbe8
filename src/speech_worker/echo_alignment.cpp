#include "speech_worker/echo_alignment.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace {

constexpr double sampleRate = 16000;
constexpr double lead = 0.005; // seconds; a canceller needs the sound before its echo
constexpr int reach = 8;       // samples to either side
constexpr int taps = 2 * reach;
constexpr int phases = 256; // between two samples: an error of 1/512 sample is 54 dB down at 4 kHz

using Weights = std::array<float, taps>;

/// A sinc below a Hann window for each phase: an interpolation that hardly changes frequencies below 6 kHz.
/// Phase 0 is the sample itself.
const std::array<Weights, phases + 1>& interpolation() {
    static const auto table = [] {
        constexpr double pi = std::numbers::pi;
        std::array<Weights, phases + 1> weights{};
        for (int phase = 0; phase <= phases; ++phase)
            for (int tap = 0; tap < taps; ++tap) {
                const double distance = static_cast<double>(phase) / phases - (tap - reach + 1);
                const double sinc = distance == 0 ? 1 : std::sin(pi * distance) / (pi * distance);
                const double window = std::cos(pi * distance / 2 / reach);
                weights[phase][tap] = static_cast<float>(sinc * window * window);
            }
        return weights;
    }();
    return table;
}

float sampleAt(const SampleHistory& samples, double place) {
    const double before = std::floor(place);
    const Weights& weights =
        interpolation()[static_cast<std::size_t>(std::lround((place - before) * phases))];
    const auto first = static_cast<std::ptrdiff_t>(before) - reach + 1;
    float sum = 0;
    for (int tap = 0; tap < taps; ++tap) sum += weights[tap] * samples.at(first + tap);
    return sum;
}

} // namespace

std::vector<float> alignedSystem(const SampleHistory& system, const EchoLine& line, std::size_t begin,
                                 std::size_t count) {
    std::vector<float> aligned(count);
    for (std::size_t i = 0; i < count; ++i) {
        const auto place = static_cast<double>(begin + i);
        aligned[i] = sampleAt(system, place - (line.delayAt(place / sampleRate) - lead) * sampleRate);
    }
    return aligned;
}

#include "speech_worker/echo_line.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <vector>

namespace {

constexpr double farthest = 0.015; // seconds
constexpr double leastDrift = 15e-6;
constexpr double shortestSpan = 8; // seconds between two estimates: nearer ones tell little of the drift
constexpr double leastOfSpan = 0.3;
constexpr std::size_t fewestSlopes = 3;

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

template <typename Value>
double medianOf(std::span<const EchoDelay> delays, const Value& value) {
    std::vector<double> values(delays.size());
    std::transform(delays.begin(), delays.end(), values.begin(), value);
    return median(std::move(values));
}

double slopeOf(std::span<const EchoDelay> delays) {
    const double span = std::max(shortestSpan, leastOfSpan * (delays.back().time - delays.front().time));
    std::vector<double> slopes;
    for (auto first = delays.begin(); first != delays.end(); ++first)
        for (auto second = first + 1; second != delays.end(); ++second)
            if (const double time = second->time - first->time; time > span)
                slopes.push_back((second->delay - first->delay) / time);
    return slopes.size() < fewestSlopes ? 0 : median(std::move(slopes));
}

} // namespace

std::optional<EchoLine> fittedLine(std::span<const EchoDelay> delays) {
    if (delays.empty()) return std::nullopt;
    const double middle = medianOf(delays, [](const EchoDelay& delay) { return delay.delay; });
    std::vector<EchoDelay> likely;
    std::copy_if(delays.begin(), delays.end(), std::back_inserter(likely),
                 [&](const EchoDelay& delay) { return std::abs(delay.delay - middle) < farthest; });
    const double slope = slopeOf(likely);
    if (std::abs(slope) < leastDrift) return EchoLine{middle, 0};
    return EchoLine{
        medianOf(likely, [&](const EchoDelay& delay) { return delay.delay - slope * delay.time; }), slope};
}

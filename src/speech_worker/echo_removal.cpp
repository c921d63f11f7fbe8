#include "speech_worker/echo_removal.h"

#include "speech_worker/echo_alignment.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr std::size_t sampleRate = 16000;
constexpr std::size_t window = 20 * sampleRate;
constexpr std::size_t leadIn = sampleRate / 5;
constexpr std::size_t surroundings = 60 * sampleRate; // before and behind a window
constexpr std::size_t longestEcho = sampleRate;       // with its lead-in and more
// A line that is this near to the newest one stays: each change is a step in the canceller's reference.
constexpr double tolerance = 0.0005; // seconds

double seconds(std::size_t samples) {
    return static_cast<double>(samples) / sampleRate;
}

std::size_t before(std::size_t place, std::size_t count) {
    return place - std::min(place, count);
}

} // namespace

EchoRemoval::EchoRemoval(SystemTrack system, AudioSink sink)
    : m_readSystem(std::move(system)), m_sink(std::move(sink)) {}

void EchoRemoval::push(std::span<const float> microphone) {
    while (!microphone.empty()) { // in pieces, so that memory does not depend on the caller's
        const auto piece = microphone.first(std::min(microphone.size(), echoBlock));
        microphone = microphone.subspan(piece.size());
        m_microphone.append(piece);
        readSystemTrack();
        while (m_searched + echoStretch <= m_microphone.end()) lookForEcho(echoStretch);
        while (m_passed + window + surroundings <= m_searched) passWindow(m_passed + window);
    }
}

void EchoRemoval::finish() {
    lookForEcho(m_microphone.end() - m_searched);
    while (m_passed < m_microphone.end()) passWindow(std::min(m_passed + window, m_microphone.end()));
}

void EchoRemoval::readSystemTrack() {
    while (!m_systemEnded && m_system.end() < m_microphone.end()) {
        const std::span<const float> samples = m_readSystem();
        m_systemEnded = samples.empty();
        m_system.append(samples);
    }
}

void EchoRemoval::lookForEcho(std::size_t count) {
    for (EchoDelay delay :
         echoDelays(m_microphone.from(m_searched, count), m_system.from(m_searched, count))) {
        delay.time += seconds(m_searched);
        m_delays.push_back(delay);
    }
    m_searched += count;
}

void EchoRemoval::followDelay(std::size_t windowEnd) {
    const double earliest = seconds(before(m_passed, surroundings));
    std::erase_if(m_delays, [&](const EchoDelay& delay) { return delay.time < earliest; });
    const double latest = seconds(windowEnd + surroundings);
    const auto last = std::find_if(m_delays.begin(), m_delays.end(),
                                   [&](const EchoDelay& delay) { return delay.time > latest; });
    const std::optional<EchoLine> newest = fittedLine({m_delays.begin(), last});
    if (!newest) return; // nothing new is known: the user may be silent for long, and the echo comes back
    const auto isNear = [&](double time) {
        return std::abs(newest->delayAt(time) - m_line->delayAt(time)) < tolerance;
    };
    if (!m_line || !isNear(seconds(m_passed)) || !isNear(seconds(windowEnd))) m_line = newest;
}

void EchoRemoval::passWindow(std::size_t windowEnd) {
    followDelay(windowEnd);
    const std::span<const float> heard = m_microphone.from(m_passed, windowEnd - m_passed);
    if (m_line) {
        const std::vector<float> left = withoutEcho(windowEnd);
        m_judge.add(heard, left);
        m_sink(left);
    } else {
        m_judge.add(heard, heard);
        m_sink(heard);
    }
    m_passed = windowEnd;
    m_microphone.forgetBefore(before(m_passed, longestEcho));
    m_system.forgetBefore(before(m_passed, longestEcho));
}

std::vector<float> EchoRemoval::withoutEcho(std::size_t windowEnd) {
    const std::size_t begin = before(m_passed, leadIn);
    const std::size_t count = windowEnd - begin;
    return m_canceller.cancel(m_microphone.from(begin, count), alignedSystem(m_system, *m_line, begin, count),
                              m_passed - begin);
}

#include "speech_worker/voice_activity.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

namespace {

constexpr std::size_t frameLength = 160; // 10 ms
constexpr std::size_t blockFrames = 25;  // the floor is looked up four times a second
constexpr std::size_t windowFrames = 1000;
constexpr std::size_t percentile = 15;
constexpr float onset = 9; // decibels above the floor
constexpr float release = 6;
constexpr float lowestFloor = -80; // decibels below full scale: dithering does not count as noise
constexpr float quietest = 1.0F / (32768.0F * 32768.0F);
constexpr float highPass = 0.97F;
constexpr std::size_t onsetFrames = 3;
constexpr std::size_t pauseFrames = 30;
constexpr std::size_t shortestFrames = 20;
constexpr std::size_t longestFrames = 2000;
constexpr std::size_t partingFrames = 500; // where the quietest place is looked for
constexpr std::size_t partingWidth = 5;
constexpr std::size_t paddingFrames = 10;
constexpr std::size_t droppedAtOnce = 32000; // moving what stays costs time

double seconds(std::size_t frame) {
    return static_cast<double>(frame) / 100.0;
}

} // namespace

VoiceActivity::VoiceActivity(Handler handler) : m_handler(std::move(handler)) {}

void VoiceActivity::push(std::span<const float> samples) {
    while (!samples.empty()) { // in small pieces, so that memory does not depend on the caller's
        const auto piece = samples.first(std::min(samples.size(), blockFrames * frameLength));
        std::transform(piece.begin(), piece.end(), std::back_inserter(m_samples),
                       [](float sample) { return std::isfinite(sample) ? sample : 0.0F; });
        samples = samples.subspan(piece.size());
        addFrames();
        decide(false);
    }
}

void VoiceActivity::finish() {
    decide(true);
    if (m_inside) emit(m_begin, m_decided - m_quietFrames, !m_parted, true);
}

/// Measures the whole frames that are new, behind a first-order high-pass at 80 Hz: hum and rumble are no
/// voice.
void VoiceActivity::addFrames() {
    for (; (m_frames + 1) * frameLength <= sampleCount(); ++m_frames) {
        const auto begin =
            m_samples.begin() + static_cast<std::ptrdiff_t>(m_frames * frameLength - m_dropped);
        float sum = 0;
        for (auto sample = begin; sample != begin + frameLength; ++sample) {
            m_filterOutput = highPass * m_filterOutput + *sample - m_filterInput;
            m_filterInput = *sample;
            sum += m_filterOutput * m_filterOutput;
        }
        m_energies.push_back(10 * std::log10(sum / frameLength + quietest));
    }
}

void VoiceActivity::decide(bool ending) {
    while (m_decided < m_frames && (ending || m_decided + windowFrames <= m_frames)) {
        const float floor = floorAround(m_decided);
        const std::size_t end = std::min(m_frames, m_decided + blockFrames);
        for (; m_decided < end; ++m_decided) classify(m_decided, floor);
        forget();
    }
}

float VoiceActivity::floorAround(std::size_t frame) const {
    const std::size_t first = frame > windowFrames ? frame - windowFrames : 0;
    const std::size_t last = std::min(m_frames, frame + windowFrames);
    std::vector<float> window(m_energies.begin() + static_cast<std::ptrdiff_t>(first - m_firstEnergy),
                              m_energies.begin() + static_cast<std::ptrdiff_t>(last - m_firstEnergy));
    const auto rank = window.begin() + static_cast<std::ptrdiff_t>(window.size() * percentile / 100);
    std::nth_element(window.begin(), rank, window.end());
    return std::max(*rank, lowestFloor);
}

void VoiceActivity::classify(std::size_t frame, float floor) {
    const float above = energy(frame) - floor;
    if (!m_inside) {
        m_loudFrames = above > onset ? m_loudFrames + 1 : 0;
        if (m_loudFrames < onsetFrames) return;
        m_inside = true;
        m_parted = false;
        m_begin = frame + 1 - onsetFrames;
        m_quietFrames = 0;
        return;
    }
    m_quietFrames = above < release ? m_quietFrames + 1 : 0;
    if (m_quietFrames >= pauseFrames) {
        emit(m_begin, frame + 1 - m_quietFrames, !m_parted, true);
        m_inside = false;
        m_loudFrames = 0;
    } else if (frame + 1 - m_begin > longestFrames) {
        part(frame);
    }
}

/// Ends the cut at the quietest place before `frame` and begins the next one right there.
void VoiceActivity::part(std::size_t frame) {
    std::size_t quietestFrame = frame;
    float least = std::numeric_limits<float>::max();
    for (std::size_t i = frame - partingFrames; i + partingWidth <= frame; ++i) {
        float sum = 0;
        for (std::size_t j = 0; j < partingWidth; ++j) sum += energy(i + j);
        if (sum < least) {
            least = sum;
            quietestFrame = i + partingWidth / 2;
        }
    }
    emit(m_begin, quietestFrame, !m_parted, false);
    m_begin = quietestFrame;
    m_parted = true;
}

void VoiceActivity::emit(std::size_t begin, std::size_t end, bool padFront, bool padBack) {
    if (end < begin + shortestFrames) return;
    const std::size_t first = padFront ? begin - std::min(begin, paddingFrames) : begin;
    const std::size_t last = padBack ? std::min(m_frames, end + paddingFrames) : end;
    const std::span<const float> held(m_samples);
    m_handler({seconds(begin), seconds(end), seconds(first),
               held.subspan(first * frameLength - m_dropped, (last - first) * frameLength)});
}

/// Drops what no decision can need any more.
void VoiceActivity::forget() {
    const std::size_t needed = m_inside ? m_begin : m_decided - std::min(m_decided, onsetFrames);
    const std::size_t firstFrame = needed - std::min(needed, paddingFrames);
    if (firstFrame * frameLength >= m_dropped + droppedAtOnce) {
        m_samples.erase(m_samples.begin(), m_samples.begin() + static_cast<std::ptrdiff_t>(
                                                                   firstFrame * frameLength - m_dropped));
        m_dropped = firstFrame * frameLength;
    }
    // The window of the next floor and the search for a quiet place both reach back.
    const std::size_t firstEnergy = m_decided - std::min(m_decided, windowFrames);
    m_energies.erase(m_energies.begin(),
                     m_energies.begin() + static_cast<std::ptrdiff_t>(firstEnergy - m_firstEnergy));
    m_firstEnergy = firstEnergy;
}

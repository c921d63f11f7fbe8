#include "speech_worker/echo_judge.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::size_t frameLength = 160;
constexpr std::size_t rememberedFrames = 6000;
constexpr double framesPerSecond = 100;
constexpr double echoLoss = 6.31; // 8 dB
// One unit of 16-bit audio, squared: where there was next to nothing, nothing was taken away.
constexpr double quietest = frameLength / (32768.0 * 32768.0);

} // namespace

void EchoJudge::add(std::span<const float> before, std::span<const float> after) {
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (m_frames.empty() || m_lastFrameLength == frameLength) {
            m_frames.push_back({quietest, quietest});
            m_lastFrameLength = 0;
        }
        Energies& frame = m_frames.back();
        frame.before += static_cast<double>(before[i]) * before[i];
        frame.after += static_cast<double>(after[i]) * after[i];
        ++m_lastFrameLength;
    }
    while (m_frames.size() > rememberedFrames + before.size() / frameLength) {
        m_frames.pop_front();
        ++m_forgotten;
    }
}

bool EchoJudge::isEcho(double start, double end) const {
    const auto frameAt = [this](double seconds) {
        const double frame = std::round(seconds * framesPerSecond) - static_cast<double>(m_forgotten);
        return static_cast<std::ptrdiff_t>(std::clamp(frame, 0.0, static_cast<double>(m_frames.size())));
    };
    Energies sum{quietest, quietest};
    const auto last = m_frames.begin() + frameAt(end);
    for (auto frame = m_frames.begin() + frameAt(start); frame < last; ++frame) {
        sum.before += frame->before;
        sum.after += frame->after;
    }
    return sum.before >= echoLoss * sum.after;
}

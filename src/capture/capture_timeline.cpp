#include "capture/capture_timeline.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace {

constexpr std::int64_t lateTap = BlockClock::frames(CaptureTimeline::tapPatience);
constexpr std::int64_t silentLag = BlockClock::frames(CaptureTimeline::silentCorrection);
constexpr std::int64_t forcedLag = BlockClock::frames(CaptureTimeline::forcedCorrection);
/// More than this the tap is never ahead of the microphone, or the mix could not keep what it plays. The
/// microphone has a thread of its own, which may be late; what it lacks after that long it has lost.
constexpr std::int64_t longestLead = BlockClock::frames(std::chrono::seconds(2));

bool isZero(std::span<const float> stereo, std::size_t frame) {
    return stereo[2 * frame] == 0 && stereo[2 * frame + 1] == 0;
}

/// How many frames are zero in a row at the end of the block.
std::int64_t zerosAtEnd(std::span<const float> stereo) {
    const std::size_t frames = stereo.size() / 2;
    std::size_t zeros = 0;
    while (zeros < frames && isZero(stereo, frames - 1 - zeros)) ++zeros;
    return static_cast<std::int64_t>(zeros);
}

} // namespace

// --- the microphone
// -------------------------------------------------------------------------------------------

void CaptureTimeline::micBlock(Time start, std::span<const float> mono) {
    start = m_awake.of(start);
    const bool isFirst = !m_micBegun;
    if (isFirst) beginMic(start);
    m_micNext += m_micClock.place(start, mono.size());
    fillMic(m_micNext);
    const std::int64_t covered = std::min<std::int64_t>(m_micIn - m_micNext, std::ssize(mono));
    m_pending.append(mono.subspan(static_cast<std::size_t>(covered)));
    m_micNext += std::ssize(mono);
    m_micIn = std::max(m_micIn, m_micNext);
    if (isFirst) deliverMic(m_micIn); // at once: the start of the recording waits for it
    deliver(start);
}

void CaptureTimeline::tick(Time now) {
    now = m_awake.of(now);
    if (!m_micBegun) return;
    // Not up to now: what a returning microphone has given by now is still on its way.
    if (now - m_micClock.end() > micPatience) fillMic(indexAt(now - tapPatience));
    deliver(now);
}

void CaptureTimeline::micStopped() {
    deliverMic(m_micIn);
}

void CaptureTimeline::beginMic(Time start) {
    m_micBegun = true;
    m_micClock.expect(start);
    m_holdEnds = start + longestHold;
}

void CaptureTimeline::fillMic(std::int64_t until) {
    m_pending.appendSilence(until - m_micIn);
    m_micIn = std::max(m_micIn, until);
}

/// The microphone's sample that belongs to that time.
std::int64_t CaptureTimeline::indexAt(Time time) const {
    return m_micNext + BlockClock::frames(time - m_micClock.end());
}

// --- the tap
// --------------------------------------------------------------------------------------------------

void CaptureTimeline::tapBlock(Time start, std::span<const float> stereo) {
    start = m_awake.of(start);
    const std::int64_t frames = std::ssize(stereo) / 2;
    if (!m_micBegun) beginMic(start); // it never came: silence until it does
    if (m_tap != Tap::running) beginTap(start);
    const std::int64_t zeros = zerosAtEnd(stereo);
    // Silence can be believed at once: wherever it belongs, nothing is heard of it.
    if (zeros == frames) m_tapClock.expect(start);
    m_tapNext += m_tapClock.place(start, static_cast<std::size_t>(frames));

    std::int64_t lag = indexAt(m_tapClock.end() - BlockClock::duration(frames)) - m_tapNext;
    if (std::abs(lag) > forcedLag) m_tapNext += std::exchange(lag, 0);
    if (m_tapNext + frames - m_micIn > longestLead) fillMic(m_tapNext + frames - lateTap);
    if (std::abs(lag) > silentLag)
        putTapCorrected(stereo, lag);
    else
        putTap(stereo);
    m_zeroFrames = zeros == frames ? m_zeroFrames + zeros : zeros;
    deliver(start);
}

void CaptureTimeline::tapStopped() {
    if (m_tap == Tap::running) silenceTap(m_micIn);
    m_tap = Tap::absent;
    deliverMic(m_micIn);
}

/// Its silence begins with the microphone's next sample, so that both files begin within one block.
void CaptureTimeline::beginTap(Time start) {
    m_tap = Tap::running;
    m_tapClock.expect(start);
    m_tapNext = indexAt(start);
    m_tapOut = m_micOut;
    m_zeroFrames = 0;
}

void CaptureTimeline::putTap(std::span<const float> stereo) {
    const std::int64_t frames = std::ssize(stereo) / 2;
    silenceTap(m_tapNext);
    const std::int64_t covered = std::min(m_tapOut - m_tapNext, frames);
    m_tapNext += frames;
    if (covered == frames) return;
    m_sinks.tap(stereo.subspan(static_cast<std::size_t>(2 * covered)));
    m_tapOut = m_tapNext;
}

/// Puts silence into a silent stretch of the block when the tap lags, or takes some out when it is ahead.
void CaptureTimeline::putTapCorrected(std::span<const float> stereo, std::int64_t lag) {
    const std::size_t frames = stereo.size() / 2;
    std::int64_t zeros = m_zeroFrames;
    std::size_t place = 0;
    while (place < frames && zeros < silentLag) {
        zeros = isZero(stereo, place) ? zeros + 1 : 0;
        ++place;
    }
    putTap(stereo.first(2 * place));
    if (zeros >= silentLag && lag > 0) m_tapNext += lag;
    for (; lag < 0 && place < frames && isZero(stereo, place); ++lag) ++place;
    putTap(stereo.subspan(2 * place));
}

void CaptureTimeline::silenceTap(std::int64_t until) {
    static constexpr std::array<float, 2 * PendingAudio::longestPiece> silence{};
    while (m_tapOut < until) {
        const std::int64_t frames = std::min(until - m_tapOut, PendingAudio::longestPiece);
        m_sinks.tap(std::span(silence).first(static_cast<std::size_t>(2 * frames)));
        m_tapOut += frames;
        deliverMic(std::min(m_micIn, m_tapOut)); // in step: the mix keeps no more than a few seconds
    }
}

// --- deliveries
// -----------------------------------------------------------------------------------------------

void CaptureTimeline::deliver(Time now) {
    if (m_tap == Tap::awaited && now >= m_holdEnds) m_tap = Tap::absent;
    if (m_tap == Tap::awaited) return;
    if (m_tap == Tap::running) silenceTap(m_micIn - lateTap);
    deliverMic(m_tap == Tap::running ? std::min(m_micIn, m_tapOut) : m_micIn);
}

void CaptureTimeline::deliverMic(std::int64_t until) {
    if (until <= m_micOut) return;
    m_pending.take(until - m_micOut, m_sinks.mic);
    m_micOut = until;
}

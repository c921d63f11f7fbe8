#include "capture/aligned_delivery.h"

#include <utility>

namespace {

/// So much of the microphone may wait on its queue before the tap's queue waits for it. Whoever mixes keeps
/// five seconds of the tap.
constexpr std::int64_t longestUnderWay = 96000;

} // namespace

void AlignedDelivery::startMic(SerialQueue& queue, MicSource::Handler handler) {
    auto user = std::make_shared<MicUser>(queue, std::move(handler));
    const std::lock_guard lock(m_mutex);
    m_mic = std::move(user);
}

void AlignedDelivery::startTap(SerialQueue& queue, SystemAudioSource::Handler handler) {
    auto user = std::make_shared<TapUser>(queue, std::move(handler));
    const std::lock_guard lock(m_mutex);
    m_tap = std::move(user);
}

void AlignedDelivery::stopMic() {
    std::shared_ptr<MicUser> mic;
    std::shared_ptr<TapUser> tap;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_mic) return;
        m_timeline.micStopped();
        mic = std::exchange(m_mic, nullptr);
        tap = m_tap;
    }
    if (tap) tap->queue.sync([] {}); // forwards
    mic->queue.sync([] {});
}

void AlignedDelivery::stopTap() {
    std::shared_ptr<TapUser> tap;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_tap) return;
        m_timeline.tapStopped();
        tap = m_tap;
        m_holdsBack = true;
    }
    tap->queue.sync([] {}); // forwards the microphone's pieces so far; later ones must not overtake them
    const std::lock_guard lock(m_mutex);
    m_tap.reset();
    m_holdsBack = false;
    for (MicPiece& piece : std::exchange(m_heldBack, {})) post(std::move(piece));
}

void AlignedDelivery::micBlock(Time start, std::span<const float> mono) {
    const std::lock_guard lock(m_mutex);
    if (!m_mic) return;
    m_micHasCome = true;
    m_timeline.micBlock(start, mono);
}

void AlignedDelivery::tapBlock(Time start, std::span<const float> interleavedStereo) {
    const std::lock_guard lock(m_mutex);
    if (m_tap) m_timeline.tapBlock(start, interleavedStereo);
}

AlignedDelivery::Time AlignedDelivery::tick(Time now) {
    const std::lock_guard lock(m_mutex);
    m_timeline.tick(now);
    return m_timeline.takenOut() - std::exchange(m_leftOut, m_timeline.takenOut());
}

// --- under the lock
// -------------------------------------------------------------------------------------------

void AlignedDelivery::deliverMic(std::span<const float> mono) {
    if (m_mic) post({{mono.begin(), mono.end()}, !m_micHasCome});
}

void AlignedDelivery::deliverTap(std::span<const float> stereo) {
    if (!m_tap) return;
    m_tap->queue.async([user = m_tap, samples = std::vector(stereo.begin(), stereo.end())] {
        const AudioBuffer buffer{2, static_cast<std::uint32_t>(samples.size() * sizeof(float)),
                                 samples.data()};
        user->handler({&buffer, 1}, Time(0));
    });
}

void AlignedDelivery::post(MicPiece piece) {
    if (!m_mic) return;
    if (m_holdsBack)
        m_heldBack.push_back(std::move(piece));
    else if (m_tap)
        // Behind the tap's samples of the same time.
        m_tap->queue.async([user = m_mic, piece = std::move(piece)]() mutable {
            if (user->underWay > longestUnderWay) user->queue.sync([] {});
            postToUser(user, std::move(piece));
        });
    else
        postToUser(m_mic, std::move(piece));
}

void AlignedDelivery::postToUser(const std::shared_ptr<MicUser>& user, MicPiece piece) {
    user->underWay += std::ssize(piece.samples);
    user->queue.async([user, piece = std::move(piece)] {
        MicBuffer buffer{piece.samples.data(), piece.samples.size() * sizeof(float),
                         std::ssize(piece.samples)};
        buffer.isStandIn = piece.isStandIn;
        user->handler(buffer);
        user->underWay -= std::ssize(piece.samples);
    });
}

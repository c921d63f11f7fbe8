#include "capture/lasting_mic.h"

#include "base/debug_log.h"
#include "base/error.h"

#include <algorithm>
#include <utility>

bool LastingMic::attach(SerialQueue& queue, Take take) {
    m_queue = &queue;
    m_take = std::move(take);
    return m_source->attach(queue, [this](const MicBuffer& buffer) { this->take(buffer); });
}

void LastingMic::start() {
    const std::lock_guard lock(m_mutex);
    m_wanted = true;
    if (m_source) m_source->start();
}

bool LastingMic::waitUntilRunning() {
    std::shared_ptr<MicSource> source;
    {
        const std::lock_guard lock(m_mutex);
        source = m_source;
    }
    return source && source->waitUntilRunning();
}

void LastingMic::stop() noexcept {
    const std::lock_guard lock(m_mutex);
    if (std::exchange(m_wanted, false) && m_source) m_source->stop();
}

/// Runs on the queue.
void LastingMic::take(const MicBuffer& buffer) {
    if (buffer.samples == nullptr || buffer.sampleCount < 1) return;
    const auto count = static_cast<std::size_t>(buffer.sampleCount);
    if (buffer.byteCount / sizeof(float) < count) return;
    const std::span samples(buffer.samples, count);
    if (std::any_of(samples.begin(), samples.end(), [](float sample) { return sample != 0; }))
        m_sounded = true;
    m_gave = true;
    m_take(buffer.start, samples);
}

LastingMic::Round LastingMic::round() {
    const std::lock_guard lock(m_mutex);
    return {m_wanted, m_gave.exchange(false), m_sounded.exchange(false)};
}

void LastingMic::revive(const Round& round) {
    if (round.gave) m_failureLogged = false;
    if (round.wanted && m_plan.round(round.gave)) reopen();
}

void LastingMic::reopen() {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_wanted) return;
        if (m_source) m_source->stop();
        m_source.reset();
    }
    std::shared_ptr<MicSource> next;
    try {
        next = m_factory.open(m_id);
    } catch (const Error& error) {
        if (!std::exchange(m_failureLogged, true))
            DebugLog::log("[rec] microphone cannot be opened again: " + error.printed());
    }
    if (!next) {
        m_plan.notOpened();
        return;
    }
    m_plan.opened();
    const std::lock_guard lock(m_mutex);
    // Nothing is bound to the queue once a stop has returned.
    if (!m_wanted || !next->attach(*m_queue, [this](const MicBuffer& buffer) { take(buffer); })) return;
    next->start();
    m_source = std::move(next);
}

#include "capture/lasting_tap.h"

#include <utility>

namespace {

void release(SystemAudioSource& source) {
    source.stop();
    source.removeHandler();
    source.destroyDevice();
    source.destroyTap();
}

bool exists(const SystemAudioSource::Created& created) {
    return created.status == 0 && created.id != 0;
}

} // namespace

// Until the start only its user touches the source, after it only under the lock.

SystemAudioSource::Created LastingTap::createTap(const TapDescription& description) {
    m_tap = description;
    return m_source->createTap(description);
}

SystemAudioSource::Created LastingTap::createDevice(const TapDeviceDescription& description) {
    m_device = description;
    return m_source->createDevice(description);
}

SystemAudioSource::Registered LastingTap::registerHandler(SerialQueue& queue,
                                                          SystemAudioSource::Handler handler) {
    m_queue = &queue;
    m_handler = std::move(handler);
    return registerWith(*m_source);
}

SystemAudioSource::Registered LastingTap::registerWith(SystemAudioSource& source) {
    return source.registerHandler(*m_queue, [this](AudioBufferList buffers, std::chrono::nanoseconds start) {
        m_gave = true;
        m_handler(buffers, start);
    });
}

int LastingTap::start() {
    const std::lock_guard lock(m_mutex);
    m_wanted = true;
    return m_source ? m_source->start() : 0;
}

void LastingTap::stop() noexcept {
    const std::lock_guard lock(m_mutex);
    if (std::exchange(m_wanted, false) && m_source) m_source->stop();
}

void LastingTap::removeHandler() noexcept {
    const std::lock_guard lock(m_mutex);
    if (m_source) m_source->removeHandler();
}

void LastingTap::destroyDevice() noexcept {
    const std::lock_guard lock(m_mutex);
    if (m_source) m_source->destroyDevice();
}

void LastingTap::destroyTap() noexcept {
    const std::lock_guard lock(m_mutex);
    if (m_source) m_source->destroyTap();
}

LastingTap::Round LastingTap::round() {
    const std::lock_guard lock(m_mutex);
    return {m_wanted, m_gave.exchange(false)};
}

void LastingTap::revive(const Round& round) {
    if (round.wanted && m_plan.round(round.gave)) remake();
}

void LastingTap::remake() {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_wanted) return;
        if (m_source) release(*m_source);
        m_source.reset();
    }
    std::unique_ptr<SystemAudioSource> next = m_factory.make();
    if (!exists(next->createTap(m_tap)) || !exists(next->createDevice(m_device))) {
        m_plan.notOpened();
        release(*next);
        return;
    }
    m_plan.opened();
    {
        const std::lock_guard lock(m_mutex);
        // Nothing is bound to the queue once a stop has returned.
        if (m_wanted && registerWith(*next).id && next->start() == 0) next.swap(m_source);
    }
    if (next) release(*next); // it could not start, or nobody wants it any more
}

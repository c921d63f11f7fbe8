#include "capture/system_tap_session.h"

#include "base/uuid.h"

#include <utility>

SystemTapSession::SystemTapSession(std::unique_ptr<SystemAudioSource> source)
    : m_source(std::move(source)), m_tapUUID(newUUID()) {}

SystemTapSession::~SystemTapSession() {
    stopProc();
    destroyDevice();
    destroyTap();
}

SystemAudioSource::Created SystemTapSession::createTap(const std::string& name) {
    TapDescription description;
    description.name = name;
    description.uuid = m_tapUUID;
    const SystemAudioSource::Created tap = m_source->createTap(description);
    if (tap.status == 0) m_tapID = tap.id;
    return tap;
}

SystemAudioSource::Created SystemTapSession::createDevice(const std::string& name, const std::string& kind) {
    TapDeviceDescription description;
    description.name = name;
    description.uid = "org.murmelo.Murmelo." + kind + "." + newUUID();
    description.tapUUIDs = {m_tapUUID};
    const SystemAudioSource::Created device = m_source->createDevice(description);
    if (device.status == 0) m_aggID = device.id;
    return device;
}

SystemAudioSource::Registered SystemTapSession::registerProc(SerialQueue& queue,
                                                             SystemAudioSource::Handler handler) {
    const SystemAudioSource::Registered proc = m_source->registerProc(queue, std::move(handler));
    m_procID = proc.id;
    return proc;
}

int SystemTapSession::start() {
    return m_source->start();
}

void SystemTapSession::stopProc() noexcept {
    if (m_aggID != 0 && m_procID) {
        m_source->stop();
        m_source->destroyProc();
    }
    m_procID.reset();
}

void SystemTapSession::destroyDevice() noexcept {
    if (std::exchange(m_aggID, 0) != 0) m_source->destroyDevice();
}

void SystemTapSession::destroyTap() noexcept {
    if (std::exchange(m_tapID, 0) != 0) m_source->destroyTap();
}

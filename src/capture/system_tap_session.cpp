#include "capture/system_tap_session.h"

#include "base/uuid.h"

#include <utility>

SystemTapSession::SystemTapSession(std::unique_ptr<SystemAudioSource> source)
    : m_source(std::move(source)), m_tapUUID(newUUID()) {}

SystemTapSession::~SystemTapSession() {
    stop();
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
    if (device.status == 0) m_deviceID = device.id;
    return device;
}

SystemAudioSource::Registered SystemTapSession::registerHandler(SerialQueue& queue,
                                                                SystemAudioSource::Handler handler) {
    const SystemAudioSource::Registered registered = m_source->registerHandler(queue, std::move(handler));
    m_handlerID = registered.id;
    return registered;
}

int SystemTapSession::start() {
    return m_source->start();
}

void SystemTapSession::stop() noexcept {
    if (m_deviceID != 0 && m_handlerID) {
        m_source->stop();
        m_source->removeHandler();
    }
    m_handlerID.reset();
}

void SystemTapSession::destroyDevice() noexcept {
    if (std::exchange(m_deviceID, 0) != 0) m_source->destroyDevice();
}

void SystemTapSession::destroyTap() noexcept {
    if (std::exchange(m_tapID, 0) != 0) m_source->destroyTap();
}

#pragma once

#include "capture/system_audio_source.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

/// One tap, the private device that reads it and the handler that receives its audio: acquired in that order,
/// released in the opposite one. Used by one thread at a time.
class SystemTapSession {
  public:
    explicit SystemTapSession(std::unique_ptr<SystemAudioSource> source);
    /// Releases what is still held, in order.
    ~SystemTapSession();
    SystemTapSession(const SystemTapSession&) = delete;
    SystemTapSession& operator=(const SystemTapSession&) = delete;

    /// A tap on all processes. It exists when the status is 0 and the id is not.
    SystemAudioSource::Created createTap(const std::string& name);
    /// A device that reads the tap; its identifier is the program's own prefix, `kind` and a new UUID.
    SystemAudioSource::Created createDevice(const std::string& name, const std::string& kind);
    SystemAudioSource::Registered registerHandler(SerialQueue& queue, SystemAudioSource::Handler handler);
    int start();

    // Each does nothing when there is nothing to release.
    void stop() noexcept; ///< stops the audio and forgets the handler
    void destroyDevice() noexcept;
    void destroyTap() noexcept;

  private:
    std::unique_ptr<SystemAudioSource> m_source;
    std::string m_tapUUID;
    std::uint32_t m_tapID = 0;
    std::uint32_t m_deviceID = 0;
    std::optional<std::uint32_t> m_handlerID;
};

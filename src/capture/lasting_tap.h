#pragma once

#include "capture/revival_plan.h"
#include "capture/system_audio_source.h"

#include <atomic>
#include <memory>
#include <mutex>

/// A tap that is made anew, as it was described, whenever it has stopped giving anything.
///
/// Making it may be slow and holds up the lookout's thread only.
class LastingTap {
  public:
    explicit LastingTap(SystemAudioSourceFactory& factory) : m_factory(factory), m_source(factory.make()) {}

    // As the port says.
    SystemAudioSource::Created createTap(const TapDescription& description);
    SystemAudioSource::Created createDevice(const TapDeviceDescription& description);
    SystemAudioSource::Registered registerHandler(SerialQueue& queue, SystemAudioSource::Handler handler);
    int start();
    void stop() noexcept;
    void removeHandler() noexcept;
    void destroyDevice() noexcept;
    void destroyTap() noexcept;

    struct Round {
        bool wanted; ///< between start and stop
        bool gave;   ///< since the last round
    };
    /// The lookout, four times a second.
    Round round();
    /// The lookout, after a round: makes it anew when it is time.
    void revive(const Round& round);

  private:
    void remake();
    SystemAudioSource::Registered registerWith(SystemAudioSource& source);

    SystemAudioSourceFactory& m_factory;
    TapDescription m_tap;
    TapDeviceDescription m_device;
    SerialQueue* m_queue = nullptr;
    SystemAudioSource::Handler m_handler; // on the queue
    std::atomic<bool> m_gave = false;

    std::mutex m_mutex; // never held while a tap or a device is created; the queue's tasks never take it
    bool m_wanted = false;
    std::unique_ptr<SystemAudioSource> m_source; // null while it cannot be made

    RevivalPlan m_plan; // the lookout's
};

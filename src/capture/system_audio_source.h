#pragma once

#include "base/serial_queue.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// A run of 32-bit float samples, interleaved when there are several channels.
struct AudioBuffer {
    std::uint32_t channels;
    std::uint32_t byteSize;
    const void* data; ///< may be null
};
/// What one call delivers. The PipeWire source delivers one interleaved stereo buffer. Valid during the call.
using AudioBufferList = std::span<const AudioBuffer>;

/// A tap hears what every process plays, mixed to stereo, before loudspeaker volume and mute.
struct TapDescription {
    std::string name;
    std::string uuid;
    bool isPrivate = true; ///< for this process only
    bool muted = false;    ///< whether tapped audio stops being audible
    std::vector<std::uint32_t> excludedProcesses;
};

/// The device through which taps are read.
struct TapDeviceDescription {
    std::string name;
    std::string uid;
    bool isPrivate = true;
    bool tapAutoStart = true;
    std::vector<std::string> tapUUIDs;
};

/// Port: one tap on the system's audio output with the device that reads it.
///
/// Call in this order: createTap, createDevice, registerHandler, start; release in this order: stop,
/// removeHandler, destroyDevice, destroyTap. Used by one thread at a time; nothing throws. A status is 0 or a
/// negative errno.
class SystemAudioSource {
  public:
    /// `start` is the time of the first sample, on the monotonic clock.
    using Handler = std::function<void(AudioBufferList, std::chrono::nanoseconds start)>;
    struct Created {
        int status;
        std::uint32_t id; ///< 0 when nothing was created
    };
    struct Registered {
        int status;
        std::optional<std::uint32_t> id;
    };

    /// Releases what is still held, in order.
    virtual ~SystemAudioSource() = default;
    virtual Created createTap(const TapDescription& description) = 0;
    virtual Created createDevice(const TapDeviceDescription& description) = 0;
    /// `handler` runs on `queue`, which outlives this object. 48 kHz; nothing is resampled by the caller.
    virtual Registered registerHandler(SerialQueue& queue, Handler handler) = 0;
    virtual int start() = 0;

    /// After it returns the handler neither runs nor will run until the next start. Never from the handler.
    virtual void stop() noexcept = 0;
    virtual void removeHandler() noexcept = 0;
    virtual void destroyDevice() noexcept = 0;
    virtual void destroyTap() noexcept = 0;
};

class SystemAudioSourceFactory {
  public:
    virtual ~SystemAudioSourceFactory() = default;
    virtual std::unique_ptr<SystemAudioSource> make() = 0;
};

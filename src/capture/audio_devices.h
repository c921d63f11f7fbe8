#pragma once

#include "capture/mic_choice.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Port: what the sound server knows of its devices.
///
/// Every question is answered at once from a snapshot, from any thread. Nothing throws: what cannot be told
/// is empty, missing or 0.
class AudioDevices {
  public:
    using DeviceID = std::uint32_t;
    enum class Direction { input, output };

    virtual ~AudioDevices() = default;

    /// False as long as the server has not told its devices: then an empty list of microphones means nothing.
    /// A server that has none is believed after a few seconds.
    virtual bool areKnown() const = 0;

    /// All audio devices, in the server's order.
    virtual std::vector<DeviceID> deviceIDs() const = 0;
    /// Stable identifier; missing when unknown.
    virtual std::optional<std::string> uid(DeviceID device) const = 0;
    virtual std::optional<std::string> name(DeviceID device) const = 0;
    /// Channel count of each stream in that direction.
    virtual std::vector<std::uint32_t> streamChannels(DeviceID device, Direction direction) const = 0;
    /// 0 when there is none.
    virtual DeviceID defaultInputDevice() const = 0;
    /// Hertz; 0 when unknown.
    virtual double nominalSampleRate(DeviceID device) const = 0;
    /// True when the device took the rate.
    virtual bool setNominalSampleRate(DeviceID device, double rate) = 0;

    /// The microphones in discovery order, neither sorted nor filtered.
    virtual std::vector<MicChoice> microphones() const = 0;
    /// The id of the system's default microphone.
    virtual std::optional<std::string> defaultMicrophoneID() const = 0;
};

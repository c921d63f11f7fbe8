#pragma once

#include "capture/audio_devices.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// An audio device that can record.
struct InputDevice {
    std::uint32_t id;           ///< the server's object number; changes when the device is plugged in again
    std::string uid;            ///< stable identifier, never empty
    std::string name;           ///< never empty
    std::int64_t inputChannels; ///< over all input streams; at least 1

    bool operator==(const InputDevice&) const = default;
};

template <>
struct std::hash<InputDevice> {
    std::size_t operator()(const InputDevice& device) const noexcept;
};

/// Questions about audio devices. Any thread; nothing fails: what cannot be told is empty, missing or 0.
class DeviceCatalogue {
  public:
    enum class StringProperty { uid, name };

    explicit DeviceCatalogue(AudioDevices& devices) : m_devices(devices) {}

    /// In the server's order.
    std::vector<std::uint32_t> allDeviceIDs() const;
    std::optional<std::string> string(std::uint32_t device, StringProperty property) const;
    /// Over all streams of that direction.
    std::int64_t channelCount(std::uint32_t device, AudioDevices::Direction scope) const;
    /// Devices with input channels, an identifier and a name, sorted by name: lower-cased, in the order of
    /// the user's locale; equal names keep the server's order.
    std::vector<InputDevice> inputDevices() const;
    /// 0 when there is none.
    std::uint32_t defaultInputDeviceID() const;
    /// Hertz; 0 when unknown.
    double nominalSampleRate(std::uint32_t device) const;
    /// True when the device took the rate.
    bool setNominalSampleRate(std::uint32_t device, double rate);

  private:
    AudioDevices& m_devices;
};

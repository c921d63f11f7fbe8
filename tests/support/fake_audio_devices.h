#pragma once

#include "capture/audio_devices.h"

#include <algorithm>
#include <vector>

/// Devices that a test lists.
class FakeAudioDevices final : public AudioDevices {
  public:
    struct Device {
        DeviceID id;
        std::optional<std::string> uid;
        std::optional<std::string> name;
        std::vector<std::uint32_t> inputs;
        std::vector<std::uint32_t> outputs;
        double rate = 48000.0;
    };
    std::vector<Device> devices;
    std::vector<MicChoice> mics;
    std::optional<std::string> defaultMic;
    DeviceID defaultInput = 0;
    bool acceptsRates = true;
    bool known = true;

    bool areKnown() const override { return known; }
    std::vector<DeviceID> deviceIDs() const override {
        std::vector<DeviceID> ids;
        for (const Device& device : devices) ids.push_back(device.id);
        return ids;
    }
    std::optional<std::string> uid(DeviceID id) const override { return find(id).uid; }
    std::optional<std::string> name(DeviceID id) const override { return find(id).name; }
    std::vector<std::uint32_t> streamChannels(DeviceID id, Direction direction) const override {
        return direction == Direction::input ? find(id).inputs : find(id).outputs;
    }
    DeviceID defaultInputDevice() const override { return defaultInput; }
    double nominalSampleRate(DeviceID id) const override { return find(id).rate; }
    bool setNominalSampleRate(DeviceID id, double rate) override {
        for (Device& device : devices)
            if (device.id == id && acceptsRates) {
                device.rate = rate;
                return true;
            }
        return false;
    }
    std::vector<MicChoice> microphones() const override { return mics; }
    std::optional<std::string> defaultMicrophoneID() const override { return defaultMic; }

  private:
    Device find(DeviceID id) const {
        const auto found =
            std::find_if(devices.begin(), devices.end(), [id](const Device& d) { return d.id == id; });
        return found == devices.end() ? Device{0, {}, {}, {}, {}, 0} : *found;
    }
};

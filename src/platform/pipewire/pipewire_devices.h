#pragma once

#include "capture/audio_devices.h"
#include "platform/pipewire/connection.h"

/// Answers from what the sound server has announced; never connects by itself.
class PipeWireDevices final : public AudioDevices {
  public:
    explicit PipeWireDevices(const PipeWireConnection& connection) : m_graph(connection.graph()) {}

    bool areKnown() const override;
    std::vector<DeviceID> deviceIDs() const override;
    std::optional<std::string> uid(DeviceID device) const override;
    std::optional<std::string> name(DeviceID device) const override;
    std::vector<std::uint32_t> streamChannels(DeviceID device, Direction direction) const override;
    DeviceID defaultInputDevice() const override;
    double nominalSampleRate(DeviceID device) const override;
    /// False: the server chooses its devices' rates.
    bool setNominalSampleRate(DeviceID device, double rate) override;

    std::vector<MicChoice> microphones() const override;
    std::optional<std::string> defaultMicrophoneID() const override;

  private:
    const pipewire::SharedGraph& m_graph;
};

#pragma once

#include "capture/audio_devices.h"

#include <optional>
#include <string>

inline constexpr const char* noMicrophone =
    "No microphone was found. Is one connected, and is the sound server (PipeWire) running?";

/// The microphone to record: the one with that id, whether it is there or not, or the automatic choice.
/// Nothing when none was asked for and none is there.
std::optional<MicChoice> chosenMic(const AudioDevices& devices, const std::optional<std::string>& id);

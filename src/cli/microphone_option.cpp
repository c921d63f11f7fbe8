#include "cli/microphone_option.h"

#include "capture/recorder.h"

#include <algorithm>

std::optional<MicChoice> chosenMic(const AudioDevices& devices, const std::optional<std::string>& id) {
    const std::vector<MicChoice> mics = offeredMics(Recorder::availableMics(devices));
    const std::optional<std::string> wanted = id ? id : automaticMicID(mics, Recorder::defaultMicID(devices));
    if (!wanted) return std::nullopt;
    const auto found =
        std::find_if(mics.begin(), mics.end(), [&](const MicChoice& mic) { return mic.id == wanted; });
    return found != mics.end() ? *found : MicChoice{*wanted, *wanted};
}

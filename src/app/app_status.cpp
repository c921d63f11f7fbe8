#include "app/app_status.h"

#include "app/app_state.h"

#include <algorithm>

AppStatus statusOf(const AppState& state) {
    AppStatus status;
    status.isRecording = state.isRecording;
    status.isStarting = state.isStarting;
    status.canToggle = !state.isSaving &&
                       (state.isRecording || (!state.isStarting && state.selectedMicID.get().has_value()));
    if (state.isRecording) status.elapsed = state.elapsed;
    const std::vector<MicChoice>& mics = state.mics;
    const auto chosen = std::find_if(
        mics.begin(), mics.end(), [&](const MicChoice& mic) { return mic.id == state.selectedMicID.get(); });
    if (chosen != mics.end()) status.microphone = chosen->name;
    if (const auto& last = state.lastRecording.get()) status.lastRecording = last->voice.parent_path();
    status.text = state.status;
    return status;
}

#include "app/app_state.h"

#include "base/debug_log.h"

#include <algorithm>

AppState::AppState(const Services& services)
    : selectedMicID(
          willChange, Field::selectedMicID, std::nullopt,
          [this](const std::optional<std::string>& id) { m_services.settings.setString("micID", id); }),
      transcribeEnabled(willChange, Field::transcribeEnabled, services.settings.boolean("transcribe"),
                        [this](bool enabled) { m_services.settings.setBoolean("transcribe", enabled); }),
      m_services(services) {}

AppState::~AppState() {
    cancelTranscriptions();
}

std::shared_ptr<AppState> AppState::create(const Services& services) {
    std::shared_ptr<AppState> state(new AppState(services));
    state->startUp();
    return state;
}

void AppState::startUp() {
    selectedMicID = m_services.settings.string("micID");
    refreshMics();
    if (!m_services.settings.boolean("onboarded") || micStatus() != MicStatus::authorized)
        onMain([](AppState& state) { state.openOnboarding(); })();
    runSelfTests();
}

void AppState::refreshMics() {
    mics = offeredMics(Recorder::availableMics(m_services.devices));
    if (selectedMic()) return;
    // Before the sound server has told its devices an empty list means nothing: the stored choice stands.
    if (!m_services.devices.areKnown()) return;
    selectedMicID = automaticMicID(mics, Recorder::defaultMicID(m_services.devices));
    const std::optional<MicChoice> mic = selectedMic();
    DebugLog::log("[app] auto-selected mic: " + (mic ? mic->name : "none"));
}

std::optional<MicChoice> AppState::selectedMic() const {
    const auto found = std::find_if(mics.get().begin(), mics.get().end(),
                                    [this](const MicChoice& mic) { return mic.id == selectedMicID.get(); });
    if (found == mics.get().end()) return std::nullopt;
    return *found;
}

std::string AppState::micStatusText() const {
    switch (micStatus()) {
    case MicStatus::notDetermined:
        return "not requested";
    case MicStatus::restricted:
        return "restricted";
    case MicStatus::denied:
        return "denied";
    case MicStatus::authorized:
        return "granted";
    }
    return "unknown";
}

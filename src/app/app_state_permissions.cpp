#include "app/app_state.h"

namespace {

using namespace std::chrono_literals;

/// The time that a user takes to answer the system's question.
constexpr auto timeToAnswer = 2s;

} // namespace

void AppState::openOnboarding() {
    m_services.windowing.setPresence(Windowing::Presence::taskBar);
    m_services.windowing.activate();
    const bool isNew = !m_onboardingWindow;
    if (isNew) m_onboardingWindow = m_services.windowing.makeOnboardingWindow(*this);
    m_onboardingWindow->showInFront();
    // A check may raise the system's question: not before the user has been led to it.
    if (isNew && m_services.settings.boolean("onboarded")) checkSystemAudio();
}

void AppState::finishOnboarding() {
    m_services.settings.setBoolean("onboarded", true);
    m_onboardingWindow.reset();
    m_services.windowing.setPresence(Windowing::Presence::trayOnly);
}

void AppState::requestMic() {
    // The answer is not used: views read micStatus again.
    m_services.micAuthorization.requestAccess(onMain([](AppState& state, bool /*granted*/) {
        if (state.willChange) state.willChange(Field::none);
    }));
}

void AppState::checkSystemAudio() {
    systemAudioGranted = std::nullopt;
    m_services.jobs.async(
        [works = m_services.systemAudioWorks, ended = onMain([](AppState& state, bool result) {
                                                  state.systemAudioGranted = result;
                                              })] { ended(works()); });
}

/// The earlier answer stays visible until there is a new one.
void AppState::grantSystemAudio() {
    m_services.jobs.async(
        [prime = m_services.primeSystemAudioPermission, sleep = m_services.sleep,
         works = m_services.systemAudioWorks,
         ended = onMain([](AppState& state, bool result) { state.systemAudioGranted = result; })] {
            prime();
            sleep(timeToAnswer);
            ended(works());
        });
}

void AppState::openMicrophoneSettings() {
    m_services.workspace.openSettings(SettingsPage::microphone);
}

void AppState::openSoundSettings() {
    m_services.workspace.openSettings(SettingsPage::sound);
}

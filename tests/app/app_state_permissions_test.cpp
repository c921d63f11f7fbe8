#include "app/app_state_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Presence = Windowing::Presence;

class AppStatePermissions : public AppStateFixture {
  protected:
    AppState& firstRun() {
        m_settings.values.erase("onboarded");
        launch();
        runMain();
        forgetThePast();
        return *m_state;
    }
};

// --- the window

TEST_F(AppStatePermissions, OnTheFirstRunTheWindowComesWithoutACheck) {
    m_settings.values.erase("onboarded");
    launchQuietly();
    settle();
    EXPECT_THAT(calls(), ElementsAre("show in task bar", "activate", "make window", "window to front"));
    EXPECT_THAT(m_announced, IsEmpty());
}

TEST_F(AppStatePermissions, AReturningUserSeesAFreshCheck) {
    AppState& state = launchQuietly();
    state.openOnboarding();
    settle();
    EXPECT_THAT(calls(),
                ElementsAre("show in task bar", "activate", "make window", "window to front", "check"));
    EXPECT_EQ(state.systemAudioGranted.get(), true);
}

TEST_F(AppStatePermissions, OpenedTwiceThereIsOneWindowAndOneCheck) {
    AppState& state = launchQuietly();
    state.openOnboarding();
    settle();
    m_journal.clear();
    state.openOnboarding();
    settle();
    EXPECT_THAT(calls(), ElementsAre("show in task bar", "activate", "window to front"));
}

TEST_F(AppStatePermissions, FinishingStoresClosesAndLeavesTheTaskBar) {
    AppState& state = firstRun();
    state.finishOnboarding();
    EXPECT_THAT(calls(), ElementsAre("store onboarded=true", "close window", "tray only"));
}

TEST_F(AppStatePermissions, FinishingWithoutAWindowStoresAllTheSame) {
    launchQuietly().finishOnboarding();
    EXPECT_THAT(calls(), ElementsAre("store onboarded=true", "tray only"));
}

TEST_F(AppStatePermissions, AfterFinishingANewWindowIsMadeAndTheTaskBarHasItAgain) {
    AppState& state = firstRun();
    state.finishOnboarding();
    m_journal.clear();
    state.openOnboarding();
    settle();
    EXPECT_THAT(calls(),
                ElementsAre("show in task bar", "activate", "make window", "window to front", "check"));
    EXPECT_EQ(m_windowing.presence, Presence::taskBar);
}

TEST_F(AppStatePermissions, ClosingByTheTitleBarKeepsTheWindowAndItsPresence) {
    AppState& state = firstRun();
    m_windowing.closeByTitleBar();
    settle();
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(m_windowing.presence, Presence::taskBar);
    EXPECT_FALSE(m_settings.boolean("onboarded"));
    state.openOnboarding();
    EXPECT_THAT(calls(), ElementsAre("show in task bar", "activate", "window to front"));
    EXPECT_TRUE(m_windowing.visible);
}

TEST_F(AppStatePermissions, WindowGoesWithTheState) {
    firstRun();
    m_state.reset();
    EXPECT_THAT(calls(), ElementsAre("close window"));
}

// --- the microphone

TEST_F(AppStatePermissions, TheAnswerAnnouncesAChangeWithoutAField) {
    launchQuietly();
    m_authorization.current = MicStatus::notDetermined;
    m_state->requestMic();
    EXPECT_THAT(m_announced, IsEmpty());
    m_authorization.answer(MicStatus::denied);
    EXPECT_THAT(m_announced, IsEmpty()) << "the answer comes on any thread";
    runMain();
    EXPECT_THAT(m_announced, ElementsAre(Field::none));
}

TEST_F(AppStatePermissions, ARequestThatIsDecidedAlreadyIsAnnouncedToo) {
    launchQuietly().requestMic();
    m_authorization.answer(MicStatus::authorized);
    runMain();
    EXPECT_THAT(m_announced, ElementsAre(Field::none));
}

TEST_F(AppStatePermissions, NobodyNeedsToListenToTheAnswer) {
    launch().willChange = nullptr;
    m_state->requestMic();
    m_authorization.answer(MicStatus::authorized);
    runMain();
}

// --- the system's audio

TEST_F(AppStatePermissions, ACheckFirstForgetsTheEarlierAnswer) {
    AppState& state = launchQuietly();
    state.systemAudioGranted = true;
    m_systemAudioWorks = false;
    state.checkSystemAudio();
    EXPECT_EQ(state.systemAudioGranted.get(), std::nullopt);
    m_jobs.runAll();
    EXPECT_EQ(state.systemAudioGranted.get(), std::nullopt);
    runMain();
    EXPECT_EQ(state.systemAudioGranted.get(), false);
    EXPECT_THAT(calls(), ElementsAre("check"));
}

TEST_F(AppStatePermissions, AGrantPrimesWaitsAndChecksWhileTheEarlierAnswerStays) {
    AppState& state = launchQuietly();
    state.systemAudioGranted = false;
    m_announced.clear();
    state.grantSystemAudio();
    m_jobs.runAll();
    EXPECT_THAT(calls(), ElementsAre("prime", "sleep 2000", "check"));
    EXPECT_EQ(state.systemAudioGranted.get(), false);
    EXPECT_THAT(m_announced, IsEmpty());
    runMain();
    EXPECT_EQ(state.systemAudioGranted.get(), true);
    EXPECT_THAT(m_announced, ElementsAre(Field::systemAudioGranted));
}

TEST_F(AppStatePermissions, OfOverlappingChecksTheLastToEndIsBelieved) {
    AppState& state = launchQuietly();
    state.checkSystemAudio();
    state.grantSystemAudio();
    m_jobs.run(1);
    m_systemAudioWorks = false;
    m_jobs.run(0);
    runMain();
    EXPECT_EQ(state.systemAudioGranted.get(), false);
}

// --- the desktop's settings

TEST_F(AppStatePermissions, EachSettingsOperationOpensItsPage) {
    AppState& state = launchQuietly();
    state.openMicrophoneSettings();
    state.openSoundSettings();
    EXPECT_THAT(m_workspace.settings, ElementsAre(SettingsPage::microphone, SettingsPage::sound));
}

} // namespace

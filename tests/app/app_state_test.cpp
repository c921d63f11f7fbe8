#include "app/app_state_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class AppStateTest : public AppStateFixture {
  protected:
    std::optional<std::string> storedMic() const { return m_settings.string("micID"); }
};

// --- initial values and settings

TEST_F(AppStateTest, StartsEmpty) {
    m_devices.mics.clear();
    const AppState& state = launch();
    EXPECT_THAT(state.mics.get(), IsEmpty());
    EXPECT_EQ(state.selectedMicID.get(), std::nullopt);
    EXPECT_FALSE(state.isRecording);
    EXPECT_FALSE(state.isStarting);
    EXPECT_FALSE(state.warmingUp);
    EXPECT_EQ(state.elapsed.get(), 0);
    EXPECT_EQ(state.lastRecording.get(), std::nullopt);
    EXPECT_EQ(state.status.get(), "");
    EXPECT_EQ(state.micLevel.get(), 0);
    EXPECT_EQ(state.outputLevel.get(), 0);
    EXPECT_EQ(state.lastDuration.get(), "");
    EXPECT_FALSE(state.isTranscribing);
    EXPECT_FALSE(state.transcribeEnabled);
    EXPECT_EQ(state.systemAudioGranted.get(), std::nullopt);
    EXPECT_EQ(state.elapsedString(), "00:00");
    EXPECT_THAT(m_engines.made, IsEmpty());
}

TEST_F(AppStateTest, ReadingWhetherToTranscribeDoesNotWriteItBack) {
    m_settings.values["transcribe"] = true;
    m_settings.values["micID"] = "desk";
    EXPECT_TRUE(launch().transcribeEnabled);
    EXPECT_THAT(calls(), ElementsAre("store micID=desk"));
}

TEST_F(AppStateTest, TheStoredMicrophoneIsWrittenBackOnceAtTheStart) {
    m_settings.values["micID"] = "headset";
    EXPECT_EQ(launch().selectedMicID.get(), "headset");
    EXPECT_THAT(calls(), ElementsAre("store micID=headset"));
}

TEST_F(AppStateTest, EveryAssignmentOfAChoiceIsStoredEqualOnesToo) {
    AppState& state = launchQuietly();
    state.transcribeEnabled = true;
    state.transcribeEnabled = true;
    state.selectedMicID = "headset";
    state.selectedMicID = "headset";
    state.selectedMicID = std::nullopt;
    EXPECT_THAT(calls(), ElementsAre("store transcribe=true", "store transcribe=true", "store micID=headset",
                                     "store micID=headset", "remove micID"));
    EXPECT_THAT(m_announced, ElementsAre(Field::transcribeEnabled, Field::transcribeEnabled,
                                         Field::selectedMicID, Field::selectedMicID, Field::selectedMicID));
}

TEST_F(AppStateTest, ChoicesOutliveTheState) {
    AppState& first = launch();
    first.transcribeEnabled = true;
    first.selectedMicID = "headset";
    m_state.reset();
    const AppState& second = launch();
    EXPECT_TRUE(second.transcribeEnabled);
    EXPECT_EQ(second.selectedMicID.get(), "headset");
}

TEST_F(AppStateTest, AnnouncementComesBeforeTheFieldChanges) {
    AppState& state = launch();
    std::vector<bool> seen;
    state.willChange = [&](Field field) {
        if (field == Field::transcribeEnabled) seen.push_back(state.transcribeEnabled);
    };
    state.transcribeEnabled = true;
    state.transcribeEnabled = false;
    EXPECT_THAT(seen, ElementsAre(false, true));
}

// --- microphones

TEST_F(AppStateTest, WithoutAStoredMicrophoneTheDefaultIsSelectedStoredAndLogged) {
    EXPECT_EQ(launch().selectedMicID.get(), "desk");
    EXPECT_EQ(storedMic(), "desk");
    EXPECT_THAT(log(), ElementsAre("[app] auto-selected mic: Desk Mic"));
}

TEST_F(AppStateTest, AStoredMicrophoneThatIsPresentStaysAndNothingIsLogged) {
    m_settings.values["micID"] = "headset";
    EXPECT_EQ(launch().selectedMicID.get(), "headset");
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(AppStateTest, AStoredMicrophoneThatIsGoneIsReplacedByTheDefault) {
    m_settings.values["micID"] = "gone";
    EXPECT_EQ(launch().selectedMicID.get(), "desk");
    EXPECT_EQ(storedMic(), "desk");
}

TEST_F(AppStateTest, WithoutAListedDefaultTheFirstMicrophoneIsSelected) {
    m_settings.values["micID"] = "gone";
    m_devices.defaultMic = "not listed";
    EXPECT_EQ(launch().selectedMicID.get(), "headset");
    m_state.reset();
    m_settings.values["micID"] = "gone";
    m_devices.defaultMic = std::nullopt;
    EXPECT_EQ(launch().selectedMicID.get(), "headset");
    EXPECT_EQ(log().back(), "[app] auto-selected mic: Headset");
}

TEST_F(AppStateTest, LoopbackDriversAreNotOffered) {
    m_devices.mics = {{"loop", "BlackHole 2ch"}, {"desk", "Desk Mic"}, {"other", "my blackHOLE"}};
    m_devices.defaultMic = "loop";
    EXPECT_THAT(launch().mics.get(), ElementsAre(MicChoice{"desk", "Desk Mic"}));
    EXPECT_EQ(m_state->selectedMicID.get(), "desk");
}

TEST_F(AppStateTest, WithNothingButLoopbackDriversNoneIsSelectedAndTheKeyGoes) {
    m_settings.values["micID"] = "loop";
    m_devices.mics = {{"loop", "blackhole 16ch"}};
    m_devices.defaultMic = "loop";
    EXPECT_THAT(launch().mics.get(), IsEmpty());
    EXPECT_EQ(m_state->selectedMicID.get(), std::nullopt);
    EXPECT_FALSE(m_settings.values.contains("micID"));
    EXPECT_THAT(log(), ElementsAre("[app] auto-selected mic: none"));
}

TEST_F(AppStateTest, WithoutAnyDeviceNoneIsSelectedOnceTheServerHasSaidSo) {
    m_settings.values["micID"] = "headset";
    m_devices.mics.clear();
    m_devices.defaultMic = std::nullopt;
    m_devices.known = false;
    AppState& state = launch();
    EXPECT_EQ(state.selectedMicID.get(), "headset");
    m_devices.known = true;
    state.refreshMics();
    EXPECT_EQ(state.selectedMicID.get(), std::nullopt);
    EXPECT_EQ(storedMic(), std::nullopt);
    EXPECT_THAT(log(), ElementsAre("[app] auto-selected mic: none"));
}

TEST_F(AppStateTest, AnUnpluggedMicrophoneIsReplacedAtTheNextRefreshAndDoesNotComeBack) {
    m_settings.values["micID"] = "headset";
    AppState& state = launch();
    m_devices.mics = {{"desk", "Desk Mic"}};
    EXPECT_EQ(state.selectedMicID.get(), "headset") << "without a refresh nothing changes";
    state.refreshMics();
    EXPECT_EQ(state.selectedMicID.get(), "desk");
    m_devices.mics = {{"headset", "Headset"}, {"desk", "Desk Mic"}};
    state.refreshMics();
    EXPECT_EQ(state.selectedMicID.get(), "desk");
    EXPECT_EQ(storedMic(), "desk");
}

TEST_F(AppStateTest, ARefreshAnnouncesTheListAlsoWhenItIsTheSame) {
    launchQuietly().refreshMics();
    EXPECT_THAT(m_announced, ElementsAre(Field::mics));
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(AppStateTest, TheStoredMicrophoneSurvivesALaunchAtWhichNoDeviceIsKnownYet) {
    m_settings.values["micID"] = "headset";
    m_devices.known = false;
    const std::vector<MicChoice> later = std::exchange(m_devices.mics, {});
    AppState& state = launch();
    EXPECT_EQ(state.selectedMicID.get(), "headset");
    EXPECT_EQ(storedMic(), "headset");
    EXPECT_THAT(log(), IsEmpty());

    m_devices.known = true;
    m_devices.mics = later;
    state.refreshMics();
    EXPECT_EQ(state.selectedMicID.get(), "headset");
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(AppStateTest, OnceDevicesAreKnownAMissingMicrophoneIsReplaced) {
    m_settings.values["micID"] = "gone";
    m_devices.known = false;
    AppState& state = launch();
    EXPECT_EQ(state.selectedMicID.get(), "gone");
    m_devices.known = true;
    state.refreshMics();
    EXPECT_EQ(state.selectedMicID.get(), "desk");
}

// --- authorisation

TEST_F(AppStateTest, MicrophoneStatusIsReadAfreshAndHasAWordForTheLog) {
    const AppState& state = launch();
    const std::vector<std::pair<int, std::string>> words{
        {0, "not requested"}, {1, "restricted"}, {2, "denied"}, {3, "granted"}, {4, "unknown"}};
    for (const auto& [status, word] : words) {
        m_authorization.current = static_cast<MicStatus>(status);
        EXPECT_EQ(static_cast<int>(state.micStatus()), status);
        EXPECT_EQ(state.micStatusText(), word);
    }
}

// --- what a launch starts

TEST_F(AppStateTest, OnboardedAndAuthorizedOpensNothing) {
    launch();
    settle();
    EXPECT_FALSE(m_windowing.visible);
    EXPECT_TRUE(m_main.idle());
    EXPECT_EQ(m_windowing.presence, Windowing::Presence::trayOnly);
}

TEST_F(AppStateTest, TheFirstLaunchOpensOnboardingLater) {
    m_settings.values.erase("onboarded");
    launch();
    EXPECT_FALSE(m_windowing.visible);
    runMain();
    EXPECT_TRUE(m_windowing.visible);
}

TEST_F(AppStateTest, OnboardedButWithoutMicrophoneAccessOpensOnboarding) {
    for (const MicStatus status : {MicStatus::notDetermined, MicStatus::restricted, MicStatus::denied}) {
        m_authorization.current = status;
        launch();
        runMain();
        EXPECT_TRUE(m_windowing.visible) << static_cast<int>(status);
        m_state.reset();
    }
}

TEST_F(AppStateTest, OnboardingOfAStateThatIsGoneDoesNotOpen) {
    m_settings.values.erase("onboarded");
    launch();
    m_state.reset();
    m_journal.clear();
    runMain();
    EXPECT_THAT(calls(), IsEmpty());
}

} // namespace

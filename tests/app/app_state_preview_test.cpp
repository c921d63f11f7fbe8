#include "app/app_state_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class AppStatePreview : public AppStateFixture {
  protected:
    AppState& m_app = launchQuietly();
};

// --- start

TEST_F(AppStatePreview, MetersTheSelectedMicrophoneWithoutAFolder) {
    m_app.selectedMicID = "headset";
    m_announced.clear();
    m_app.startPreview();
    EXPECT_FALSE(m_engines.last().startCalled) << "the start blocks: not on main";
    settle();
    EXPECT_EQ(m_engines.last().mic, (MicChoice{"headset", "Headset"}));
    EXPECT_EQ(m_engines.last().folder, std::nullopt);
    EXPECT_TRUE(m_engines.last().running);
    EXPECT_THAT(m_announced, IsEmpty());
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(AppStatePreview, ListensToLevelsOnly) {
    m_app.startPreview();
    EXPECT_TRUE(m_engines.last().onLevels);
    EXPECT_FALSE(m_engines.last().onError);
    EXPECT_FALSE(m_engines.last().onFirstAudio);
}

TEST_F(AppStatePreview, WithoutMicrophoneAccessThereIsNoneAndMetersStayAtZero) {
    for (const MicStatus status : {MicStatus::notDetermined, MicStatus::restricted, MicStatus::denied}) {
        m_authorization.current = status;
        m_app.startPreview();
    }
    EXPECT_THAT(m_engines.made, IsEmpty());
    EXPECT_EQ(m_app.micLevel.get(), 0);
    EXPECT_EQ(m_app.status.get(), "");
    EXPECT_FALSE(m_windowing.visible);
}

TEST_F(AppStatePreview, WithoutAListedSelectionThereIsNone) {
    m_app.selectedMicID = "gone";
    m_app.startPreview();
    m_app.selectedMicID = std::nullopt;
    m_app.startPreview();
    EXPECT_THAT(m_engines.made, IsEmpty());
    EXPECT_EQ(m_app.status.get(), "");
}

TEST_F(AppStatePreview, ThereIsOneAtATime) {
    m_app.startPreview();
    m_app.startPreview();
    settle();
    m_app.startPreview();
    settle();
    EXPECT_THAT(m_engines.made, SizeIs(1));
}

TEST_F(AppStatePreview, NoneStartsWhileARecordingStartsOrRuns) {
    m_app.toggleRecording();
    m_app.startPreview();
    settle();
    m_app.startPreview();
    settle();
    EXPECT_THAT(m_engines.made, SizeIs(1));
    EXPECT_EQ(m_engines.previewsRunning(), 0);
}

TEST_F(AppStatePreview, AStartThatFailsIsStoppedAndNotShown) {
    m_app.startPreview();
    m_engines.last().startSucceeds = false;
    settle();
    EXPECT_TRUE(m_engines.last().stopped);
    EXPECT_FALSE(m_engines.isHeld(0));
    EXPECT_EQ(m_app.status.get(), "");
    EXPECT_THAT(m_announced, IsEmpty());
    m_app.startPreview();
    EXPECT_THAT(m_engines.made, SizeIs(2)) << "the next one may try";
}

// --- levels

TEST_F(AppStatePreview, AReportFollowedBySilenceFallsByAFifthEachTime) {
    FakeCaptureEngine& engine = preview();
    const std::vector<float> expected{0.5F, 0.4F, 0.32F, 0.256F};
    std::vector<float> shown;
    for (const float reported : {0.5F, 0.0F, 0.0F, 0.0F}) {
        report(engine, reported, reported);
        shown.push_back(m_app.micLevel);
        EXPECT_EQ(m_app.outputLevel.get(), m_app.micLevel.get());
    }
    EXPECT_THAT(shown, testing::Pointwise(testing::FloatEq(), expected));
}

TEST_F(AppStatePreview, AReportThatEqualsTheDecayedValueKeepsIt) {
    FakeCaptureEngine& engine = preview();
    report(engine, 0.5F, 0.25F);
    report(engine, 0.5F * 0.8F, 0.25F * 0.8F);
    EXPECT_EQ(m_app.micLevel.get(), 0.5F * 0.8F);
    EXPECT_EQ(m_app.outputLevel.get(), 0.25F * 0.8F);
}

TEST_F(AppStatePreview, EveryReportTakesOneTurnOfMain) {
    FakeCaptureEngine& engine = preview();
    engine.onLevels(0.5F, 0);
    engine.onLevels(0, 0);
    EXPECT_EQ(m_app.micLevel.get(), 0);
    runMain();
    EXPECT_FLOAT_EQ(m_app.micLevel, 0.4F);
    EXPECT_THAT(m_announced,
                ElementsAre(Field::micLevel, Field::outputLevel, Field::micLevel, Field::outputLevel));
}

TEST_F(AppStatePreview, ReportsAreDroppedUntilItIsInstalled) {
    m_app.startPreview();
    m_engines.last().duringStart = [this] { m_engines.last().onLevels(0.5F, 0.5F); };
    m_engines.last().onLevels(0.5F, 0.5F);
    m_jobs.runAll();
    runMain();
    EXPECT_EQ(m_app.micLevel.get(), 0);
    EXPECT_THAT(m_announced, IsEmpty());
    report(m_engines.last(), 0.5F, 0.5F);
    EXPECT_EQ(m_app.micLevel.get(), 0.5F);
}

TEST_F(AppStatePreview, ReportsAreDroppedAfterItsStop) {
    FakeCaptureEngine& engine = preview();
    engine.onLevels(0.5F, 0.5F);
    m_app.stopPreview();
    runMain();
    EXPECT_EQ(m_app.micLevel.get(), 0);
}

// --- stop

TEST_F(AppStatePreview, TheStopEndsItAndZeroesTheMeters) {
    FakeCaptureEngine& engine = preview();
    report(engine, 0.5F, 0.5F);
    m_announced.clear();
    m_app.stopPreview();
    EXPECT_TRUE(engine.stopped);
    EXPECT_FALSE(m_engines.isHeld(0));
    EXPECT_EQ(m_app.micLevel.get(), 0);
    EXPECT_EQ(m_app.outputLevel.get(), 0);
    EXPECT_THAT(m_announced, ElementsAre(Field::micLevel, Field::outputLevel));
}

TEST_F(AppStatePreview, TheStopZeroesTheMetersWithoutAPreviewToo) {
    m_app.stopPreview();
    EXPECT_THAT(m_announced, ElementsAre(Field::micLevel, Field::outputLevel));
}

TEST_F(AppStatePreview, TheStopDuringARecordingLeavesTheMeters) {
    report(record(), 0.5F, 0.25F);
    m_announced.clear();
    m_app.stopPreview();
    EXPECT_EQ(m_app.micLevel.get(), 0.5F);
    EXPECT_EQ(m_app.outputLevel.get(), 0.25F);
    EXPECT_THAT(m_announced, IsEmpty());
    EXPECT_TRUE(m_app.isRecording);
}

TEST_F(AppStatePreview, StoppedWhileStartingItInstallsItselfAllTheSame) {
    m_app.startPreview();
    m_app.stopPreview();
    EXPECT_FALSE(m_engines.last().stopped);
    settle();
    report(m_engines.last(), 0.5F, 0.5F);
    EXPECT_EQ(m_app.micLevel.get(), 0.5F) << "the meters move although nobody looks";
    m_app.stopPreview();
    EXPECT_TRUE(m_engines.last().stopped);
}

TEST_F(AppStatePreview, ARestartMetersTheNewChoice) {
    preview();
    m_app.selectedMicID = "headset";
    m_app.restartPreview();
    settle();
    EXPECT_THAT(calls(),
                ElementsAre("start preview", "store micID=headset", "stop preview", "start preview"));
    EXPECT_EQ(m_engines.last().mic.id, "headset");
}

TEST_F(AppStatePreview, ARestartWhileStartingLeavesTheFirstOneToStart) {
    m_app.startPreview();
    m_app.selectedMicID = "headset";
    m_app.restartPreview();
    settle();
    EXPECT_THAT(m_engines.made, SizeIs(1));
    EXPECT_EQ(m_engines.last().mic.id, "desk");
    EXPECT_TRUE(m_engines.last().running);
}

// --- a recording comes

TEST_F(AppStatePreview, ARecordingStopsItFirst) {
    preview();
    record();
    EXPECT_THAT(calls(), ElementsAre("start preview", "stop preview", "start recording"));
}

TEST_F(AppStatePreview, AToggleThatCannotRecordStopsItToo) {
    preview();
    m_app.selectedMicID = std::nullopt;
    m_app.toggleRecording();
    EXPECT_EQ(m_engines.previewsRunning(), 0);
}

TEST_F(AppStatePreview, AToggleThatOpensOnboardingLeavesIt) {
    preview();
    m_authorization.current = MicStatus::denied;
    m_app.toggleRecording();
    EXPECT_EQ(m_engines.previewsRunning(), 1);
}

TEST_F(AppStatePreview, ALatePreviewIsStoppedWhileARecordingStarts) {
    m_app.startPreview();
    m_app.toggleRecording();
    m_jobs.run(0);
    runMain();
    EXPECT_TRUE(m_engines.made[0]->stopped);
    EXPECT_FALSE(m_engines.isHeld(0));
    settle();
    EXPECT_TRUE(m_app.isRecording);
}

TEST_F(AppStatePreview, ALatePreviewIsStoppedWhileARecordingRuns) {
    m_app.startPreview();
    m_app.toggleRecording();
    m_jobs.run(1);
    runMain();
    ASSERT_TRUE(m_app.isRecording);
    settle();
    EXPECT_TRUE(m_engines.made[0]->stopped);
    EXPECT_EQ(m_engines.previewsRunning(), 0);
    EXPECT_EQ(m_engines.recordingsRunning(), 1);
    m_announced.clear();
    report(*m_engines.made[0], 0.5F, 0.5F);
    EXPECT_THAT(m_announced, IsEmpty()) << "its reports do not reach the recording's meters";
}

TEST_F(AppStatePreview, AfterARecordingThatCameBetweenANewOneMayStart) {
    m_app.startPreview();
    m_app.toggleRecording();
    settle();
    m_app.toggleRecording();
    m_app.startPreview();
    settle();
    EXPECT_EQ(m_engines.previewsRunning(), 1);
}

} // namespace

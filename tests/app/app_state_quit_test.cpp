#include "app/app_state_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// Quitting at every moment. What is on its way then still ends, but neither runs on nor is installed.
class AppStateQuit : public AppStateFixture {
  protected:
    void quit() {
        m_app.teardownOnQuit({});
        expectSilence("right after quitting");
        settle();
        m_main.advance(10s);
        expectSilence("after everything has ended");
    }
    void expectSilence(const char* when) const {
        EXPECT_EQ(m_engines.recordingsRunning(), 0) << when;
        EXPECT_EQ(m_engines.previewsRunning(), 0) << when;
    }
    void expectNoneHeld() const {
        for (std::size_t i = 0; i < m_engines.made.size(); ++i) EXPECT_FALSE(m_engines.isHeld(i)) << i;
    }

    AppState& m_app = launchQuietly();
};

TEST_F(AppStateQuit, WhileNothingRuns) {
    quit();
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(AppStateQuit, WhileAPreviewRuns) {
    preview();
    quit();
    EXPECT_THAT(calls(), ElementsAre("start preview", "stop preview"));
    expectNoneHeld();
}

TEST_F(AppStateQuit, WhileAPreviewHasNotBegunToStart) {
    m_app.startPreview();
    quit();
    expectNoneHeld();
}

TEST_F(AppStateQuit, WhileAPreviewStartsItsStartIsEnded) {
    m_app.startPreview();
    m_engines.last().duringStart = [this] { m_app.teardownOnQuit({}); };
    settle();
    expectSilence("after the start");
    expectNoneHeld();
}

TEST_F(AppStateQuit, WhileAPreviewHasStartedButIsNotInstalledYet) {
    m_app.startPreview();
    m_jobs.runAll();
    ASSERT_EQ(m_engines.previewsRunning(), 1);
    quit();
    expectNoneHeld();
    EXPECT_EQ(m_app.micLevel.get(), 0);
}

TEST_F(AppStateQuit, WhileARecordingHasNotBegunToStart) {
    m_app.toggleRecording();
    quit();
    EXPECT_FALSE(m_app.isRecording);
    expectNoneHeld();
}

TEST_F(AppStateQuit, WhileARecordingStartsItsStartIsEnded) {
    m_app.toggleRecording();
    m_engines.last().duringStart = [this] { m_app.teardownOnQuit({}); };
    settle();
    expectSilence("after the start");
    EXPECT_FALSE(m_app.isRecording);
    expectNoneHeld();
}

TEST_F(AppStateQuit, WhileARecordingHasStartedButMainDoesNotKnowYet) {
    m_app.toggleRecording();
    m_jobs.runAll();
    ASSERT_EQ(m_engines.recordingsRunning(), 1);
    quit();
    EXPECT_FALSE(m_app.isRecording);
    expectNoneHeld();
}

TEST_F(AppStateQuit, WhileARecordingRunsItIsStoppedButNotCollected) {
    m_app.transcribeEnabled = true;
    record();
    m_announced.clear();
    m_app.teardownOnQuit({});
    EXPECT_TRUE(m_engines.last().stopped);
    EXPECT_THAT(m_announced, IsEmpty());
    EXPECT_EQ(m_app.lastRecording.get(), std::nullopt);
    EXPECT_FALSE(m_app.isTranscribing);
    m_main.advance(250ms);
    EXPECT_THAT(m_announced, ElementsAre(Field::elapsed)) << "the ticker is not cancelled";
    expectNoneHeld();
}

TEST_F(AppStateQuit, AfterAStartThatFailedItsEngineIsStoppedToo) {
    m_app.toggleRecording();
    m_engines.last().startSucceeds = false;
    settle();
    quit();
    EXPECT_THAT(calls(), ElementsAre("start recording", "stop recording"));
    expectNoneHeld();
}

TEST_F(AppStateQuit, WithARecordingAndALatePreviewBothEnd) {
    m_app.startPreview();
    m_app.toggleRecording();
    m_jobs.run(1);
    runMain();
    ASSERT_TRUE(m_app.isRecording);
    quit();
    expectNoneHeld();
}

TEST_F(AppStateQuit, TwiceIsFine) {
    record();
    quit();
    quit();
    EXPECT_THAT(calls(), ElementsAre("start recording", "stop recording"));
}

TEST_F(AppStateQuit, AfterwardsNothingStarts) {
    quit();
    m_app.toggleRecording();
    m_app.startPreview();
    m_app.restartPreview();
    settle();
    EXPECT_THAT(m_engines.made, IsEmpty());
    EXPECT_FALSE(m_app.isStarting);
}

// --- what ends after the state is gone

class AppStateGone : public AppStateFixture {
  protected:
    /// Destroys the state while what was begun is on its way, then lets that end.
    void destroyAndSettle() {
        m_announced.clear();
        m_state.reset();
        settle();
        m_main.advance(10s);
        EXPECT_THAT(m_announced, IsEmpty());
        for (std::size_t i = 0; i < m_engines.made.size(); ++i) EXPECT_FALSE(m_engines.isHeld(i)) << i;
    }

    AppState& m_app = launchQuietly();
};

TEST_F(AppStateGone, ALatePreviewIsStopped) {
    m_app.startPreview();
    destroyAndSettle();
    EXPECT_TRUE(m_engines.last().startCalled);
    EXPECT_TRUE(m_engines.last().stopped);
}

TEST_F(AppStateGone, AStartedPreviewOnItsWayToMainIsStopped) {
    m_app.startPreview();
    m_jobs.runAll();
    destroyAndSettle();
    EXPECT_TRUE(m_engines.last().stopped);
}

TEST_F(AppStateGone, ALateRecordingIsLetGoOf) {
    m_app.toggleRecording();
    destroyAndSettle();
    EXPECT_THAT(m_engines.made, SizeIs(1));
}

TEST_F(AppStateGone, HooksOfAnEngineThatLivesOnDoNothing) {
    FakeCaptureEngine& recording = record();
    m_app.toggleRecording();
    FakeCaptureEngine& metering = preview();
    recording.onLevels(0.5F, 0.5F); // on its way to main when the state goes
    destroyAndSettle();
    recording.onLevels(0.5F, 0.5F);
    recording.onError("Too late.");
    recording.onFirstAudio();
    metering.onLevels(0.5F, 0.5F);
    runMain();
    EXPECT_THAT(m_announced, IsEmpty());
}

TEST_F(AppStateGone, TheTickerEnds) {
    record();
    destroyAndSettle();
    EXPECT_TRUE(m_main.idle());
}

TEST_F(AppStateGone, ChecksGrantsAndAnswersEndWithoutATrace) {
    m_app.checkSystemAudio();
    m_app.grantSystemAudio();
    m_app.requestMic();
    m_state.reset();
    m_authorization.answer(MicStatus::authorized);
    destroyAndSettle();
    EXPECT_THAT(calls(), ElementsAre("check", "prime", "sleep 2000", "check"));
}

TEST_F(AppStateGone, ATranscriptionEndsWithoutATrace) {
    m_app.transcribeEnabled = true;
    record();
    m_app.toggleRecording();
    destroyAndSettle();
    EXPECT_TRUE(m_transcriptionStop.stop_requested());
}

TEST_F(AppStateGone, ATranscriptionTestIsCancelledAndDoesNotExit) {
    m_environment["TAPDECK_TS"] = "/recordings/one";
    launchQuietly();
    destroyAndSettle();
    EXPECT_TRUE(m_transcriptionStop.stop_requested());
    EXPECT_THAT(m_exits, IsEmpty());
    EXPECT_THAT(log(), IsEmpty());
}

} // namespace

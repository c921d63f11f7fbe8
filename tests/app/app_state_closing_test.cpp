#include "app/app_state_fixture.h"

#include "app/app_status.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// Engines whose stop takes longer than main waits for it. It ends when the test lets the jobs run.
class AppStateClosing : public AppStateFixture {
  protected:
    /// A recording of three seconds of which the user has pressed stop.
    FakeCaptureEngine& save() {
        FakeCaptureEngine& engine = record();
        m_main.advance(3s);
        m_jobs.takeLonger = true;
        m_app.toggleRecording();
        return engine;
    }
    void pressInVain() {
        const std::size_t engines = m_engines.made.size();
        m_app.toggleRecording();
        m_jobs.run(m_jobs.count() - 1); // its line in the log
        EXPECT_THAT(m_engines.made, SizeIs(engines));
        EXPECT_TRUE(m_app.isSaving);
    }

    AppState& m_app = launchQuietly();
};

// --- stop

TEST_F(AppStateClosing, TheStopReturnsAndItStillCountsAsRecordingWhileItIsSaved) {
    FakeCaptureEngine& engine = record();
    m_main.advance(3s);
    report(engine, 0.5F, 0.5F);
    m_jobs.takeLonger = true;
    m_announced.clear();
    m_app.toggleRecording();
    EXPECT_FALSE(engine.stopped) << "not on main";
    EXPECT_TRUE(m_app.isSaving);
    EXPECT_TRUE(m_app.isRecording);
    EXPECT_EQ(m_app.status.get(), "Saving…");
    EXPECT_EQ(m_app.micLevel.get(), 0);
    EXPECT_EQ(m_app.outputLevel.get(), 0);
    EXPECT_THAT(m_announced,
                ElementsAre(Field::isSaving, Field::micLevel, Field::outputLevel, Field::status));
    EXPECT_EQ(m_app.lastRecording.get(), std::nullopt);
    m_announced.clear();
    m_main.advance(1min);
    EXPECT_THAT(m_announced, IsEmpty()) << "nothing ticks any more";
    const AppStatus status = statusOf(m_app);
    EXPECT_TRUE(status.isRecording);
    EXPECT_FALSE(status.canToggle);
    EXPECT_EQ(status.elapsed, 3);
    EXPECT_EQ(status.text, "Saving…");
}

TEST_F(AppStateClosing, WhatFollowsTheStopFollowsTheClosing) {
    m_app.transcribeEnabled = true;
    FakeCaptureEngine& engine = save();
    EXPECT_FALSE(m_app.isTranscribing);
    m_jobs.runAll();
    EXPECT_TRUE(engine.stopped);
    EXPECT_TRUE(m_app.isSaving) << "only main changes the state";
    m_announced.clear();
    runMain();
    EXPECT_FALSE(m_app.isSaving);
    EXPECT_FALSE(m_app.isRecording);
    EXPECT_EQ(m_app.lastRecording.get(), engine.files);
    EXPECT_EQ(m_app.lastDuration.get(), "00:03");
    EXPECT_EQ(m_app.status.get(), "");
    EXPECT_THAT(m_announced, ElementsAre(Field::isSaving, Field::lastRecording, Field::lastDuration,
                                         Field::isRecording, Field::warmingUp, Field::micLevel,
                                         Field::outputLevel, Field::status, Field::isTranscribing));
    settle();
    EXPECT_THAT(m_transcribedFolders, ElementsAre(*engine.folder));
    EXPECT_FALSE(m_engines.isHeld(0));
}

TEST_F(AppStateClosing, MeanwhileTheRecordButtonDoesNothing) {
    save();
    pressInVain();
    pressInVain();
    settle();
    EXPECT_THAT(calls(), ElementsAre("start recording", "stop recording"));
    EXPECT_FALSE(m_app.isRecording);
}

TEST_F(AppStateClosing, MeanwhileNoPreviewStarts) {
    save();
    m_app.startPreview();
    m_app.restartPreview();
    EXPECT_THAT(m_engines.made, SizeIs(1));
}

TEST_F(AppStateClosing, AfterwardsTheNextRecordingCanStart) {
    save();
    settle();
    m_jobs.takeLonger = false;
    record();
    EXPECT_TRUE(m_app.isRecording);
    EXPECT_EQ(m_app.elapsed.get(), 0);
    EXPECT_EQ(m_engines.recordingsRunning(), 1);
}

TEST_F(AppStateClosing, AnErrorMeanwhileIsShownOnceTheFilesAreClosed) {
    FakeCaptureEngine& engine = save();
    engine.onError("Lost.");
    runMain();
    EXPECT_EQ(m_app.status.get(), "Saving…");
    EXPECT_TRUE(m_app.isRecording);
    settle();
    EXPECT_EQ(m_app.status.get(), "Lost.");
    EXPECT_EQ(m_app.lastRecording.get(), engine.files);
    m_jobs.takeLonger = false;
    record();
    m_app.toggleRecording();
    EXPECT_EQ(m_app.status.get(), "") << "once";
}

TEST_F(AppStateClosing, AnErrorWhoseEngineTakesLongToEndIsShownAtOnce) {
    m_app.toggleRecording();
    FakeCaptureEngine& engine = m_engines.last();
    m_jobs.takeLonger = true;
    engine.onError("Lost.");
    runMain();
    EXPECT_EQ(m_app.status.get(), "Lost.");
    EXPECT_TRUE(m_app.isStarting);
    pressInVain();
    settle();
    EXPECT_TRUE(engine.stopped);
    EXPECT_EQ(m_app.status.get(), "Lost.");
    EXPECT_FALSE(m_app.isStarting);
    EXPECT_FALSE(m_app.isRecording);
    EXPECT_FALSE(m_engines.isHeld(0));
}

TEST_F(AppStateClosing, ALogThatHangsHoldsUpNoToggle) {
    m_jobs.takeLonger = true;
    m_app.toggleRecording();
    EXPECT_TRUE(m_app.isStarting);
    EXPECT_THAT(log(), IsEmpty());
    settle();
    EXPECT_THAT(log(), SizeIs(1));
}

TEST_F(AppStateClosing, APreviewThatTakesLongToEndHoldsNothingUp) {
    FakeCaptureEngine& metering = preview();
    m_jobs.takeLonger = true;
    m_app.toggleRecording();
    EXPECT_TRUE(m_app.isStarting);
    EXPECT_FALSE(m_app.isSaving) << "there is nothing to save";
    EXPECT_EQ(m_app.status.get(), "");
    settle();
    EXPECT_TRUE(metering.stopped);
    EXPECT_FALSE(m_engines.isHeld(0));
    EXPECT_TRUE(m_app.isRecording);
}

TEST_F(AppStateClosing, ThatEndsAfterTheStateIsGoneLeavesNoTrace) {
    save();
    m_announced.clear();
    m_state.reset();
    settle();
    EXPECT_THAT(m_announced, IsEmpty());
    EXPECT_FALSE(m_engines.isHeld(0));
}

TEST_F(AppStateClosing, TheDiagnosticReportsTheSizesOfClosedFiles) {
    m_environment["TAPDECK_DIAG"] = "1";
    launchQuietly();
    m_main.advance(1s);
    settle();
    m_jobs.takeLonger = true;
    m_main.advance(11s);
    EXPECT_THAT(m_exits, IsEmpty());
    settle();
    EXPECT_THAT(m_exits, ElementsAre(0));
    const Lines lines = log();
    EXPECT_THAT(Lines(lines.end() - 4, lines.end()),
                ElementsAre("[diag] mix.m4a size=-1", "[diag] voice.m4a size=-1", "[diag] system.m4a size=-1",
                            "[diag] done"));
}

TEST_F(AppStateClosing, TheDiagnosticEndsAlsoWhenTheFilesCannotBeClosed) {
    m_environment["TAPDECK_DIAG"] = "1";
    launchQuietly();
    m_main.advance(1s);
    settle();
    m_jobs.takeLonger = true;
    m_main.advance(8s + 1500ms + 5s + 499ms);
    EXPECT_THAT(m_exits, IsEmpty());
    m_main.advance(1ms);
    EXPECT_THAT(m_exits, ElementsAre(0));
    EXPECT_EQ(log().back(), "[diag] done");
}

// --- quit

class AppStateSavingAtQuit : public AppStateClosing {
  protected:
    void quit() {
        m_app.teardownOnQuit([this] { ++m_quits; });
    }
    int m_quits = 0;
};

TEST_F(AppStateSavingAtQuit, WithNothingToWaitForItEndsAtOnce) {
    record();
    quit();
    EXPECT_EQ(m_quits, 1);
    EXPECT_TRUE(m_engines.last().stopped);
}

TEST_F(AppStateSavingAtQuit, ItWaitsForTheFilesAndSaysSo) {
    record();
    m_jobs.takeLonger = true;
    quit();
    EXPECT_EQ(m_quits, 0);
    EXPECT_EQ(m_app.status.get(), "Saving…");
    EXPECT_TRUE(m_app.isRecording);
    EXPECT_FALSE(statusOf(m_app).canToggle);
    m_main.advance(4s);
    EXPECT_EQ(m_quits, 0);
    settle();
    EXPECT_EQ(m_quits, 1);
    EXPECT_TRUE(m_engines.last().stopped);
    EXPECT_FALSE(m_engines.isHeld(0));
    m_main.advance(2min);
    EXPECT_EQ(m_quits, 1);
    EXPECT_THAT(m_notices.told(), IsEmpty());
}

TEST_F(AppStateSavingAtQuit, ItJoinsAClosingThatGoesOn) {
    m_app.transcribeEnabled = true;
    FakeCaptureEngine& engine = save();
    quit();
    EXPECT_EQ(m_quits, 0);
    settle();
    EXPECT_EQ(m_quits, 1);
    EXPECT_EQ(calls().back(), "stop recording");
    EXPECT_EQ(m_engines.made.size(), 1U);
    EXPECT_EQ(m_app.lastRecording.get(), engine.files);
    EXPECT_FALSE(m_app.isTranscribing) << "nothing starts any more";
}

TEST_F(AppStateSavingAtQuit, OfSeveralQuitsTheLastIsAnswered) {
    record();
    m_jobs.takeLonger = true;
    quit();
    int later = 0;
    m_app.teardownOnQuit([&] { ++later; });
    settle();
    EXPECT_EQ(m_quits, 0);
    EXPECT_EQ(later, 1);
    quit();
    EXPECT_EQ(m_quits, 1) << "there is nothing left to wait for";
}

TEST_F(AppStateSavingAtQuit, WhileARecordingStartsItWaitsForThatToo) {
    m_app.toggleRecording();
    m_jobs.takeLonger = true;
    quit();
    EXPECT_EQ(m_quits, 0);
    EXPECT_TRUE(m_app.isStarting);
    settle();
    EXPECT_EQ(m_quits, 1);
    EXPECT_FALSE(m_app.isRecording);
    EXPECT_EQ(m_engines.recordingsRunning(), 0);
}

TEST_F(AppStateSavingAtQuit, APreviewIsNotWaitedFor) {
    preview();
    m_jobs.takeLonger = true;
    quit();
    EXPECT_EQ(m_quits, 1);
    EXPECT_FALSE(m_app.isSaving);
}

TEST_F(AppStateSavingAtQuit, AfterFiveSecondsWithoutProgressTheLossIsNamedAndItEnds) {
    FakeCaptureEngine& engine = record();
    const std::string name = engine.folder->filename();
    engine.remaining = {11.2, 3};
    m_jobs.takeLonger = true;
    quit();
    m_main.advance(4999ms);
    EXPECT_THAT(m_notices.told(), IsEmpty());
    m_main.advance(1ms);
    const std::string sentence =
        "Murmelo has ended because the disk did not answer. The last 12 seconds of “" + name +
        "” are lost; what came before is repaired at the next start.";
    EXPECT_THAT(m_notices.told(), ElementsAre(sentence));
    EXPECT_EQ(m_quits, 0) << "the desktop gets the notice first";
    m_main.advance(500ms);
    EXPECT_EQ(m_quits, 1);
    m_main.advance(2min);
    EXPECT_THAT(m_notices.told(), SizeIs(1));
    EXPECT_EQ(m_quits, 1);
    settle();
    EXPECT_EQ(log().back(), "[app] " + sentence);
}

TEST_F(AppStateSavingAtQuit, WhileTheBacklogShrinksItWaitsForAMinute) {
    FakeCaptureEngine& engine = record();
    engine.remaining = {60, 3};
    m_jobs.takeLonger = true;
    quit();
    for (int second = 1; second < 60; ++second) {
        engine.remaining.seconds -= 0.25;
        m_main.advance(1s);
        ASSERT_THAT(m_notices.told(), IsEmpty()) << second;
    }
    m_main.advance(1s);
    EXPECT_THAT(m_notices.told(), SizeIs(1));
    m_main.advance(500ms);
    EXPECT_EQ(m_quits, 1);
}

TEST_F(AppStateSavingAtQuit, WhatItCouldNotWaitForIsNotWaitedForAgain) {
    record();
    m_jobs.takeLonger = true;
    quit();
    m_main.advance(5s + 500ms);
    EXPECT_EQ(m_quits, 1);
    quit();
    EXPECT_EQ(m_quits, 2);
    EXPECT_FALSE(m_app.waitForTeardown());
    EXPECT_THAT(calls(), ElementsAre("start recording"));
}

/// When Qt ends the process no event loop runs any more.
TEST_F(AppStateSavingAtQuit, WithoutAnEventLoopItWaitsAllTheSame) {
    FakeCaptureEngine& engine = record();
    engine.remaining = {2, 3};
    m_jobs.takeLonger = true;
    m_onSleep = [&](std::chrono::milliseconds time) {
        m_main.standStill(time);
        if (m_main.now() > 4s) m_jobs.runAll();
    };
    EXPECT_TRUE(m_app.waitForTeardown());
    EXPECT_TRUE(engine.stopped);
    EXPECT_THAT(m_notices.told(), IsEmpty());
}

TEST_F(AppStateSavingAtQuit, WithoutAnEventLoopItEndsAsWell) {
    FakeCaptureEngine& engine = record();
    engine.remaining = {2, 3};
    m_jobs.takeLonger = true;
    m_onSleep = [&](std::chrono::milliseconds time) { m_main.standStill(time); };
    const auto begin = m_main.now();
    EXPECT_FALSE(m_app.waitForTeardown());
    EXPECT_EQ(m_main.now() - begin, 5s);
    EXPECT_THAT(m_notices.told(), SizeIs(1));
}

TEST_F(AppStateSavingAtQuit, AnEventLoopThatEndsWhileItWaitsIsOnlyAnotherWayToWait) {
    record();
    m_jobs.takeLonger = true;
    quit();
    m_main.advance(3s);
    m_onSleep = [&](std::chrono::milliseconds time) { m_main.standStill(time); };
    EXPECT_FALSE(m_app.waitForTeardown());
    EXPECT_EQ(m_main.now(), 5s) << "since the first quit";
}

} // namespace

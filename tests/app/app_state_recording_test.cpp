#include "app/app_state_fixture.h"

#include "base/recording_files.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class AppStateRecording : public AppStateFixture {
  protected:
    AppState& m_app = launchQuietly();
};

// --- toggle

TEST_F(AppStateRecording, EveryToggleIsLogged) {
    m_app.toggleRecording();
    m_app.toggleRecording();
    settle();
    m_app.selectedMicID = std::nullopt;
    m_authorization.current = MicStatus::denied;
    m_app.toggleRecording();
    m_app.toggleRecording();
    EXPECT_THAT(log(), ElementsAre("[app] toggle; rec=false micStatus=granted selMic=desk",
                                   "[app] toggle; rec=false micStatus=granted selMic=desk",
                                   "[app] toggle; rec=true micStatus=denied selMic=nil",
                                   "[app] toggle; rec=false micStatus=denied selMic=nil"));
}

TEST_F(AppStateRecording, ASecondToggleDuringTheStartIsIgnored) {
    m_app.toggleRecording();
    m_app.toggleRecording();
    settle();
    EXPECT_THAT(m_engines.made, SizeIs(1));
    EXPECT_TRUE(m_app.isRecording);
    EXPECT_THAT(log(), SizeIs(2));
}

TEST_F(AppStateRecording, WithoutMicrophoneAccessOnboardingOpensInstead) {
    for (const MicStatus status : {MicStatus::notDetermined, MicStatus::restricted, MicStatus::denied}) {
        m_authorization.current = status;
        m_windowing.visible = false;
        m_app.toggleRecording();
        EXPECT_TRUE(m_windowing.visible) << static_cast<int>(status);
    }
    settle();
    EXPECT_THAT(m_engines.made, IsEmpty());
    EXPECT_EQ(m_app.status.get(), "");
}

TEST_F(AppStateRecording, AnUnpluggedMicrophoneCannotBeRecorded) {
    m_devices.mics.clear();
    m_app.refreshMics();
    m_app.selectedMicID = "desk";
    m_announced.clear();
    m_app.toggleRecording();
    settle();
    EXPECT_EQ(m_app.status.get(), "Pick a microphone first.");
    EXPECT_FALSE(m_app.isStarting);
    EXPECT_FALSE(m_app.warmingUp);
    EXPECT_THAT(m_engines.made, IsEmpty());
    EXPECT_FALSE(exists(placeOfRecordings()));
}

TEST_F(AppStateRecording, WithoutASelectionThereIsNothingToRecord) {
    m_app.selectedMicID = std::nullopt;
    m_announced.clear();
    m_app.toggleRecording();
    EXPECT_EQ(m_app.status.get(), "Pick a microphone first.");
    EXPECT_THAT(m_announced, ElementsAre(Field::micLevel, Field::outputLevel, Field::status));
}

// --- start

TEST_F(AppStateRecording, TheRequestIsShownAtOnce) {
    m_app.status = "old news";
    m_announced.clear();
    m_app.toggleRecording();
    EXPECT_TRUE(m_app.isStarting);
    EXPECT_TRUE(m_app.warmingUp);
    EXPECT_FALSE(m_app.isRecording);
    EXPECT_EQ(m_app.status.get(), "");
    EXPECT_THAT(m_announced, ElementsAre(Field::micLevel, Field::outputLevel, Field::isStarting,
                                         Field::warmingUp, Field::status));
    EXPECT_FALSE(m_engines.last().startCalled) << "the start blocks: not on main";
}

TEST_F(AppStateRecording, TheSelectedMicrophoneIsRecordedIntoAFolderNamedAfterTheMomentOfTheRequest) {
    m_app.selectedMicID = "headset";
    m_app.toggleRecording();
    const std::string name = recordingFolderName(m_log.time);
    m_log.time += 1h;
    m_app.selectedMicID = "desk";
    settle();
    EXPECT_EQ(m_engines.last().mic, (MicChoice{"headset", "Headset"}));
    EXPECT_EQ(m_engines.last().folder, placeOfRecordings() / name);
    EXPECT_TRUE(is_directory(placeOfRecordings()));
    EXPECT_FALSE(exists(placeOfRecordings() / name)) << "the engine makes it";
}

TEST_F(AppStateRecording, AStartThatSucceedsBeginsTheRecording) {
    m_app.toggleRecording();
    m_jobs.runAll();
    EXPECT_FALSE(m_app.isRecording) << "only main changes the state";
    m_announced.clear();
    runMain();
    EXPECT_TRUE(m_app.isRecording);
    EXPECT_FALSE(m_app.isStarting);
    EXPECT_TRUE(m_app.warmingUp) << "no audio yet";
    EXPECT_THAT(m_announced,
                ElementsAre(Field::isStarting, Field::elapsed, Field::isRecording, Field::elapsed));
}

TEST_F(AppStateRecording, TheFirstAudioEndsTheWarmingUp) {
    m_app.toggleRecording();
    settle();
    m_engines.last().onFirstAudio();
    EXPECT_TRUE(m_app.warmingUp) << "hooks come from the engine's threads";
    runMain();
    EXPECT_FALSE(m_app.warmingUp);
    EXPECT_TRUE(m_app.isRecording);
}

TEST_F(AppStateRecording, TheFirstAudioMayComeWhileStarting) {
    m_app.toggleRecording();
    m_engines.last().onFirstAudio();
    runMain();
    EXPECT_FALSE(m_app.warmingUp);
    EXPECT_TRUE(m_app.isStarting);
}

TEST_F(AppStateRecording, AStartThatFailsWithoutAnErrorKeepsItsEngineAndTheStatus) {
    m_app.toggleRecording();
    m_engines.last().startSucceeds = false;
    m_app.status = "what was there";
    m_announced.clear();
    settle();
    EXPECT_FALSE(m_app.isStarting);
    EXPECT_FALSE(m_app.warmingUp);
    EXPECT_FALSE(m_app.isRecording);
    EXPECT_EQ(m_app.status.get(), "what was there");
    EXPECT_THAT(m_announced, ElementsAre(Field::isStarting, Field::warmingUp));
    EXPECT_TRUE(m_engines.isHeld(0));
    EXPECT_FALSE(m_engines.last().stopped);
}

TEST_F(AppStateRecording, TheNextStartLetsGoOfSuchAnEngineWithoutStoppingIt) {
    m_app.toggleRecording();
    m_engines.last().startSucceeds = false;
    settle();
    record();
    EXPECT_FALSE(m_engines.isHeld(0));
    EXPECT_FALSE(m_engines.made[0]->stopped);
    EXPECT_TRUE(m_app.isRecording);
}

// --- errors

TEST_F(AppStateRecording, AnErrorWhileStartingIsShownWordForWord) {
    m_app.toggleRecording();
    FakeCaptureEngine& engine = m_engines.last();
    engine.startSucceeds = false;
    engine.duringStart = [&] { engine.onError("Microphone “Desk Mic” is not available. Is it connected?"); };
    settle();
    EXPECT_EQ(m_app.status.get(), "Microphone “Desk Mic” is not available. Is it connected?");
    EXPECT_FALSE(m_app.isStarting);
    EXPECT_FALSE(m_app.warmingUp);
    EXPECT_FALSE(m_app.isRecording);
    EXPECT_TRUE(engine.stopped);
    EXPECT_FALSE(m_engines.isHeld(0));
    EXPECT_EQ(m_app.lastRecording.get(), std::nullopt);
}

TEST_F(AppStateRecording, AnErrorWhileRecordingStopsAndResets) {
    FakeCaptureEngine& engine = record();
    report(engine, 0.5F, 0.25F);
    m_announced.clear();
    engine.onError("The disk is full.");
    EXPECT_TRUE(m_app.isRecording);
    runMain();
    EXPECT_TRUE(engine.stopped);
    EXPECT_FALSE(m_engines.isHeld(0));
    EXPECT_FALSE(m_app.isRecording);
    EXPECT_EQ(m_app.micLevel.get(), 0);
    EXPECT_EQ(m_app.outputLevel.get(), 0);
    EXPECT_EQ(m_app.status.get(), "The disk is full.");
    EXPECT_THAT(m_announced, ElementsAre(Field::isRecording, Field::isStarting, Field::warmingUp,
                                         Field::micLevel, Field::outputLevel, Field::status));
    m_announced.clear();
    m_main.advance(1s);
    EXPECT_THAT(m_announced, IsEmpty()) << "nothing ticks any more";
}

TEST_F(AppStateRecording, AnErrorAfterTheStopIsStillShown) {
    FakeCaptureEngine& engine = record();
    engine.onError("Too late.");
    m_app.toggleRecording();
    EXPECT_EQ(m_app.status.get(), "");
    const auto result = m_app.lastRecording.get();
    runMain();
    EXPECT_EQ(m_app.status.get(), "Too late.");
    EXPECT_EQ(m_app.lastRecording.get(), result);
    EXPECT_FALSE(m_app.isRecording);
}

TEST_F(AppStateRecording, AStartThatSucceedsBesideAnErrorStaysStopped) {
    m_app.toggleRecording();
    m_engines.last().onError("Lost.");
    settle();
    EXPECT_TRUE(m_engines.last().stopped);
    EXPECT_FALSE(m_app.isRecording);
    EXPECT_EQ(m_app.status.get(), "Lost.");
}

TEST_F(AppStateRecording, TheLateEndOfAFailedStartDoesNotTouchTheNextRecording) {
    m_app.toggleRecording();
    m_engines.last().onError("Lost.");
    runMain(); // its start cleans up for a while yet
    m_app.toggleRecording();
    m_jobs.run(0);
    runMain();
    EXPECT_TRUE(m_app.isStarting);
    EXPECT_TRUE(m_app.warmingUp);
    settle();
    EXPECT_TRUE(m_app.isRecording);
    EXPECT_EQ(m_engines.recordingsRunning(), 1);
}

// --- levels

TEST_F(AppStateRecording, MetersRiseAtOnceAndFallSlowly) {
    FakeCaptureEngine& engine = record();
    report(engine, 0.5F, 1.0F);
    EXPECT_EQ(m_app.micLevel.get(), 0.5F);
    EXPECT_EQ(m_app.outputLevel.get(), 1.0F);
    report(engine, 0, 0.9F);
    EXPECT_EQ(m_app.micLevel.get(), 0.5F * 0.8F);
    EXPECT_EQ(m_app.outputLevel.get(), 0.9F);
}

TEST_F(AppStateRecording, LevelsAreShownInEveryState) {
    m_app.toggleRecording();
    report(m_engines.last(), 0.5F, 0.5F);
    EXPECT_EQ(m_app.micLevel.get(), 0.5F) << "while starting";
    settle();
    FakeCaptureEngine& engine = m_engines.last();
    engine.onLevels(0.25F, 0.25F);
    m_app.toggleRecording();
    EXPECT_EQ(m_app.micLevel.get(), 0);
    runMain();
    EXPECT_EQ(m_app.micLevel.get(), 0.25F) << "a report that was on its way lands after the stop";
}

TEST_F(AppStateRecording, FirstAudioThatWasOnItsWayLandsAfterTheStop) {
    m_app.toggleRecording();
    settle();
    m_engines.last().onFirstAudio();
    m_app.toggleRecording();
    m_announced.clear();
    runMain();
    EXPECT_THAT(m_announced, ElementsAre(Field::warmingUp));
    EXPECT_FALSE(m_app.warmingUp);
}

// --- elapsed time

TEST_F(AppStateRecording, ElapsedTimeTicksFourTimesASecond) {
    record();
    std::vector<double> ticks;
    m_app.willChange = [&](Field field) {
        if (field == Field::elapsed) ticks.push_back(std::chrono::duration<double>(m_main.now()).count());
    };
    m_main.advance(1s);
    EXPECT_THAT(ticks, ElementsAre(0.25, 0.5, 0.75, 1.0));
    EXPECT_EQ(m_app.elapsed.get(), 1.0);
}

TEST_F(AppStateRecording, TimeCountsFromTheSuccessfulStart) {
    m_main.advance(10s);
    m_app.toggleRecording();
    m_main.advance(7s);
    settle();
    EXPECT_EQ(m_app.elapsed.get(), 0);
    m_main.advance(2s);
    EXPECT_EQ(m_app.elapsed.get(), 2.0);
}

TEST_F(AppStateRecording, TheNextRecordingBeginsAtZero) {
    record();
    m_main.advance(5s);
    m_app.toggleRecording();
    EXPECT_EQ(m_app.elapsed.get(), 5.0) << "kept after the stop";
    record();
    EXPECT_EQ(m_app.elapsed.get(), 0);
    m_main.advance(100ms);
    m_app.toggleRecording();
    record();
    m_announced.clear();
    m_main.advance(1s);
    EXPECT_THAT(m_announced, SizeIs(4)) << "the tickers of earlier recordings are gone";
}

TEST_F(AppStateRecording, MinutesAreNotFoldedIntoHours) {
    for (const auto& [seconds, text] : std::vector<std::pair<double, std::string>>{
             {0, "00:00"}, {59.9, "00:59"}, {60, "01:00"}, {3725, "62:05"}, {7200, "120:00"}}) {
        m_app.elapsed = seconds;
        EXPECT_EQ(m_app.elapsedString(), text);
    }
}

TEST_F(AppStateRecording, TwoHoursEndAs120Minutes) {
    record();
    m_main.advance(2h);
    m_app.toggleRecording();
    EXPECT_EQ(m_app.lastDuration.get(), "120:00");
}

// --- stop

TEST_F(AppStateRecording, TheStopCollectsTheFilesAndResets) {
    FakeCaptureEngine& engine = record();
    m_main.advance(3s);
    report(engine, 0.5F, 0.5F);
    m_app.status = "something";
    m_announced.clear();
    m_app.willChange = [&](Field field) {
        EXPECT_TRUE(engine.stopped) << "the files are complete before anything is shown";
        m_announced.push_back(field);
    };
    m_app.toggleRecording();
    EXPECT_EQ(m_app.lastRecording.get(), engine.files);
    EXPECT_EQ(m_app.lastDuration.get(), "00:03");
    EXPECT_FALSE(m_app.isRecording);
    EXPECT_FALSE(m_app.warmingUp);
    EXPECT_EQ(m_app.micLevel.get(), 0);
    EXPECT_EQ(m_app.outputLevel.get(), 0);
    EXPECT_EQ(m_app.status.get(), "");
    EXPECT_THAT(m_announced,
                ElementsAre(Field::lastRecording, Field::lastDuration, Field::isRecording, Field::warmingUp,
                            Field::micLevel, Field::outputLevel, Field::status));
    EXPECT_FALSE(m_engines.isHeld(0));
    EXPECT_THAT(calls(), ElementsAre("start recording", "stop recording"));
    m_announced.clear();
    m_main.advance(1s);
    EXPECT_THAT(m_announced, IsEmpty()) << "nothing ticks any more";
}

TEST_F(AppStateRecording, StoppedBeforeTheNextTickItLastedNothing) {
    record();
    m_main.advance(200ms);
    m_app.toggleRecording();
    EXPECT_EQ(m_app.lastDuration.get(), "00:00");
}

TEST_F(AppStateRecording, StoppedWhileWarmingUpItIsARecordingToo) {
    m_app.toggleRecording();
    settle();
    m_app.toggleRecording();
    EXPECT_FALSE(m_app.warmingUp);
    EXPECT_TRUE(m_app.lastRecording.get());
}

TEST_F(AppStateRecording, AStopWithoutResultForgetsTheLastRecording) {
    record();
    m_app.toggleRecording();
    EXPECT_TRUE(m_app.lastRecording.get());
    m_app.transcribeEnabled = true;
    record().files = std::nullopt;
    m_main.advance(4s);
    m_app.toggleRecording();
    EXPECT_EQ(m_app.lastRecording.get(), std::nullopt);
    EXPECT_EQ(m_app.lastDuration.get(), "00:04");
    EXPECT_FALSE(m_app.isTranscribing);
}

TEST_F(AppStateRecording, TheStopIsPossibleWithoutMicrophoneAccess) {
    record();
    m_authorization.current = MicStatus::denied;
    m_app.toggleRecording();
    EXPECT_FALSE(m_app.isRecording);
    EXPECT_FALSE(m_windowing.visible);
}

} // namespace

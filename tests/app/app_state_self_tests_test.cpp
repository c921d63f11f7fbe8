#include "app/app_state_fixture.h"

#include "base/error.h"

#include <stdexcept>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class AppStateSelfTests : public AppStateFixture {
  protected:
    void launchWith(const std::map<std::string, std::string>& environment) {
        m_settings.values["micID"] = "desk"; // which is not logged
        m_environment = environment;
        launch();
    }
    /// The diagnostic run up to the moment before its line at 8 s.
    void diagnoseForEightSeconds() {
        launchWith({{"TAPDECK_DIAG", "1"}});
        m_main.advance(1s);
        settle();
        m_main.advance(7999ms);
    }
};

// --- which variable starts what

TEST_F(AppStateSelfTests, WithoutVariablesNoneRuns) {
    launchWith({});
    settle();
    m_main.advance(1min);
    EXPECT_THAT(log(), IsEmpty());
    EXPECT_THAT(calls(), ElementsAre("store micID=desk"));
    EXPECT_THAT(m_exits, IsEmpty());
}

TEST_F(AppStateSelfTests, OnlyExactlyOneStartsTheDiagnosticOrTheCheck) {
    for (const char* value : {"", "0", "true", "01", "1 ", "yes"}) {
        launchWith({{"TAPDECK_DIAG", value}, {"TAPDECK_CHECK", value}});
        settle();
        m_main.advance(1min);
    }
    EXPECT_THAT(log(), IsEmpty());
    EXPECT_THAT(m_exits, IsEmpty());
}

TEST_F(AppStateSelfTests, AnyCombinationMayRun) {
    launchWith({{"TAPDECK_DIAG", "1"}, {"TAPDECK_TS", "/recordings/one"}, {"TAPDECK_CHECK", "1"}});
    settle();
    EXPECT_THAT(log(), testing::UnorderedElementsAre("[ts-test] OK /recordings/one/transcript.txt",
                                                     "[check] result=true"));
    m_main.advance(1s);
    EXPECT_EQ(log()[2], R"([diag] start; micStatus=granted mics=["Headset", "Desk Mic"])");
    EXPECT_THAT(m_exits, ElementsAre(0, 0));
}

// --- diagnostic

TEST_F(AppStateSelfTests, TheDiagnosticBeginsAfterOneSecond) {
    launchWith({{"TAPDECK_DIAG", "1"}});
    m_main.advance(999ms);
    EXPECT_THAT(log(), IsEmpty());
    m_main.advance(1ms);
    EXPECT_THAT(log(), ElementsAre(R"([diag] start; micStatus=granted mics=["Headset", "Desk Mic"])",
                                   "[app] toggle; rec=false micStatus=granted selMic=desk"));
}

TEST_F(AppStateSelfTests, TheDiagnosticRecordsForEightSecondsReportsTheSizesAndExits) {
    diagnoseForEightSeconds();
    FakeCaptureEngine& engine = m_engines.last();
    engine.onFirstAudio();
    report(engine, 0.25F, 1);
    std::filesystem::create_directories(*engine.folder);
    writeFile(engine.files->mix, std::string(51234, 'm'));
    writeFile(engine.files->system, "");
    EXPECT_TRUE(m_state->isRecording);

    m_main.advance(1ms);
    EXPECT_FALSE(m_state->isRecording);
    m_main.advance(1499ms);
    EXPECT_THAT(log(), SizeIs(3));
    EXPECT_THAT(m_exits, IsEmpty());
    m_main.advance(1ms);
    EXPECT_THAT(log(), ElementsAre(R"([diag] start; micStatus=granted mics=["Headset", "Desk Mic"])",
                                   "[app] toggle; rec=false micStatus=granted selMic=desk",
                                   "[diag] 8s: rec=true warm=false mic=0.25 out=1.0 status=",
                                   "[diag] mix.m4a size=51234", "[diag] voice.m4a size=-1",
                                   "[diag] system.m4a size=0", "[diag] done"));
    EXPECT_THAT(m_exits, ElementsAre(0));
    EXPECT_EQ(m_main.now(), 10500ms);
}

TEST_F(AppStateSelfTests, LevelsAreWrittenAsTheShortestTextOfAFloat) {
    diagnoseForEightSeconds();
    report(m_engines.last(), 0.1F, 1e-7F);
    m_main.advance(1ms);
    EXPECT_EQ(log().back(), "[diag] 8s: rec=true warm=true mic=0.1 out=0.0000001 status=");
}

TEST_F(AppStateSelfTests, WithoutMicrophoneAccessTheDiagnosticEndsWithoutARecording) {
    m_devices.mics.clear();
    m_authorization.current = MicStatus::denied;
    m_environment["TAPDECK_DIAG"] = "1";
    launchQuietly();
    m_main.advance(11s);
    EXPECT_THAT(log(), ElementsAre("[diag] start; micStatus=denied mics=[]",
                                   "[app] toggle; rec=false micStatus=denied selMic=nil",
                                   "[diag] 8s: rec=false warm=false mic=0.0 out=0.0 status=", "[diag] done"));
    EXPECT_TRUE(m_windowing.visible);
    EXPECT_THAT(m_exits, ElementsAre(0));
}

TEST_F(AppStateSelfTests, WithoutAMicrophoneTheDiagnosticSaysSo) {
    m_devices.mics.clear();
    m_environment["TAPDECK_DIAG"] = "1";
    launchQuietly();
    m_main.advance(11s);
    EXPECT_THAT(log(), ElementsAre("[diag] start; micStatus=granted mics=[]",
                                   "[app] toggle; rec=false micStatus=granted selMic=nil",
                                   "[diag] 8s: rec=false warm=false mic=0.0 out=0.0 "
                                   "status=Pick a microphone first.",
                                   "[diag] done"));
    EXPECT_THAT(m_exits, ElementsAre(0));
}

TEST_F(AppStateSelfTests, TheDiagnosticOfAStateThatIsGoneDoesNotBegin) {
    launchWith({{"TAPDECK_DIAG", "1"}});
    m_state.reset();
    m_main.advance(1min);
    EXPECT_THAT(log(), IsEmpty());
    EXPECT_THAT(m_exits, IsEmpty());
}

TEST_F(AppStateSelfTests, OnceBegunTheDiagnosticKeepsTheState) {
    diagnoseForEightSeconds();
    m_state.reset();
    m_main.advance(2s);
    EXPECT_EQ(log().back(), "[diag] done");
    EXPECT_THAT(m_exits, ElementsAre(0));
}

TEST_F(AppStateSelfTests, TheDiagnosticMayBeginATranscriptionThatTheExitCutsShort) {
    m_settings.values["transcribe"] = true;
    diagnoseForEightSeconds();
    m_main.advance(1ms);
    EXPECT_TRUE(m_state->isTranscribing);
    m_main.advance(1500ms);
    EXPECT_THAT(m_exits, ElementsAre(0));
    EXPECT_THAT(m_transcribedFolders, IsEmpty());
}

TEST_F(AppStateSelfTests, ATranscriptionCanBeCancelledWhileTheDiagnosticKeepsTheState) {
    m_settings.values["transcribe"] = true;
    diagnoseForEightSeconds();
    m_main.advance(1ms);
    m_jobs.runAll();
    AppState& kept = *m_state;
    m_state.reset();
    EXPECT_FALSE(m_transcriptionStop.stop_requested());
    kept.cancelTranscriptions();
    EXPECT_TRUE(m_transcriptionStop.stop_requested());
}

// --- transcription

TEST_F(AppStateSelfTests, TheTranscriptionTestLogsThePathOfTheTranscript) {
    launchWith({{"TAPDECK_TS", "/recordings/one"}});
    m_jobs.runAll();
    EXPECT_THAT(m_exits, IsEmpty());
    runMain();
    EXPECT_THAT(m_transcribedFolders, ElementsAre("/recordings/one"));
    EXPECT_THAT(log(), ElementsAre("[ts-test] OK /recordings/one/transcript.txt"));
    EXPECT_THAT(m_exits, ElementsAre(0));
    EXPECT_FALSE(m_state->isTranscribing);
}

TEST_F(AppStateSelfTests, AnEmptyFolderNameStartsTheTranscriptionTestToo) {
    launchWith({{"TAPDECK_TS", ""}});
    settle();
    EXPECT_THAT(m_transcribedFolders, ElementsAre(""));
    EXPECT_THAT(m_exits, ElementsAre(0));
}

TEST_F(AppStateSelfTests, AFailureOfTheTranscriptionTestIsLoggedInFullAndExitsWithZero) {
    m_transcriptionFails = [] { throw Error("transcriber", 2, "No speech."); };
    launchWith({{"TAPDECK_TS", "/nowhere"}});
    settle();
    EXPECT_THAT(log(), ElementsAre("[ts-test] FAILED Error Domain=transcriber Code=2 \"No speech.\""));
    EXPECT_THAT(m_exits, ElementsAre(0));
}

TEST_F(AppStateSelfTests, AFailureOfAnotherKindEndsTheTranscriptionTestToo) {
    m_transcriptionFails = [] { throw std::runtime_error("out of luck"); };
    launchWith({{"TAPDECK_TS", "/nowhere"}});
    settle();
    EXPECT_THAT(log(), ElementsAre("[ts-test] FAILED out of luck"));
    EXPECT_THAT(m_exits, ElementsAre(0));
}

// --- capture check

TEST_F(AppStateSelfTests, TheCheckLogsItsResultAndExitsOnMain) {
    for (const bool works : {true, false}) {
        m_log.clear();
        m_exits.clear();
        m_systemAudioWorks = works;
        launchWith({{"TAPDECK_CHECK", "1"}});
        m_jobs.runAll();
        EXPECT_THAT(log(), ElementsAre(works ? "[check] result=true" : "[check] result=false"));
        EXPECT_THAT(m_exits, IsEmpty());
        runMain();
        EXPECT_THAT(m_exits, ElementsAre(0));
        EXPECT_EQ(m_state->systemAudioGranted.get(), std::nullopt);
    }
}

} // namespace

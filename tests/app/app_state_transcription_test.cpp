#include "app/app_state_fixture.h"

#include "base/error.h"

#include <stdexcept>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class AppStateTranscription : public AppStateFixture {
  protected:
    /// Records and stops; the transcription then waits to run.
    std::filesystem::path recordAndStop() {
        FakeCaptureEngine& engine = record();
        m_app.toggleRecording();
        return *engine.folder;
    }

    AppState& m_app = launchQuietly();
};

TEST_F(AppStateTranscription, SwitchedOffNothingIsTranscribed) {
    recordAndStop();
    EXPECT_FALSE(m_app.isTranscribing);
    settle();
    EXPECT_THAT(m_transcribedFolders, IsEmpty());
    EXPECT_EQ(m_app.status.get(), "");
}

TEST_F(AppStateTranscription, SwitchedOnTheRecordingIsTranscribedAfterItsStop) {
    m_app.transcribeEnabled = true;
    const std::filesystem::path folder = recordAndStop();
    EXPECT_TRUE(m_app.isTranscribing);
    EXPECT_THAT(m_transcribedFolders, IsEmpty());
    m_jobs.runAll();
    EXPECT_THAT(m_transcribedFolders, ElementsAre(folder));
    EXPECT_TRUE(m_app.isTranscribing) << "only main changes the state";
    m_announced.clear();
    runMain();
    EXPECT_FALSE(m_app.isTranscribing);
    EXPECT_THAT(m_announced, ElementsAre(Field::isTranscribing)) << "success leaves the status alone";
}

TEST_F(AppStateTranscription, SwitchedOnDuringTheRecordingCounts) {
    record();
    m_app.transcribeEnabled = true;
    m_app.toggleRecording();
    EXPECT_TRUE(m_app.isTranscribing);
}

TEST_F(AppStateTranscription, AFailureIsShownWithItsDescription) {
    m_app.transcribeEnabled = true;
    m_transcriptionFails = [] { throw Error("transcriber", 3, "No speech model is installed."); };
    recordAndStop();
    m_jobs.runAll();
    m_announced.clear();
    runMain();
    EXPECT_FALSE(m_app.isTranscribing);
    EXPECT_EQ(m_app.status.get(), "Transcription failed: No speech model is installed.");
    EXPECT_THAT(m_announced, ElementsAre(Field::isTranscribing, Field::status));
}

TEST_F(AppStateTranscription, AFailureOfAnotherKindIsShownToo) {
    m_app.transcribeEnabled = true;
    m_transcriptionFails = [] { throw std::runtime_error("out of luck"); };
    recordAndStop();
    settle();
    EXPECT_FALSE(m_app.isTranscribing);
    EXPECT_EQ(m_app.status.get(), "Transcription failed: out of luck");
}

TEST_F(AppStateTranscription, ANewRecordingMayRunMeanwhile) {
    m_app.transcribeEnabled = true;
    recordAndStop();
    m_app.toggleRecording();
    m_jobs.run(1);
    runMain();
    EXPECT_TRUE(m_app.isRecording);
    EXPECT_TRUE(m_app.isTranscribing);
    m_jobs.runAll();
    runMain();
    EXPECT_TRUE(m_app.isRecording);
    EXPECT_FALSE(m_app.isTranscribing);
}

TEST_F(AppStateTranscription, TheFirstToEndClearsTheFlagAlthoughASecondRuns) {
    m_app.transcribeEnabled = true;
    recordAndStop();
    m_app.toggleRecording();
    m_jobs.run(1);
    runMain();
    m_app.toggleRecording();
    ASSERT_EQ(m_jobs.count(), 2U);
    m_jobs.run(0);
    runMain();
    EXPECT_FALSE(m_app.isTranscribing);
    ASSERT_EQ(m_jobs.count(), 1U);
    m_announced.clear();
    settle();
    EXPECT_THAT(m_announced, ElementsAre(Field::isTranscribing));
}

TEST_F(AppStateTranscription, ItIsCancelledWithTheState) {
    m_app.transcribeEnabled = true;
    recordAndStop();
    m_transcriptionFails = [this] {
        EXPECT_FALSE(m_transcriptionStop.stop_requested());
        m_state.reset(); // as if on main meanwhile
        EXPECT_TRUE(m_transcriptionStop.stop_requested());
        throw Error("transcriber", 1, "Cancelled.");
    };
    settle();
    EXPECT_THAT(m_transcribedFolders, testing::SizeIs(1));
}

TEST_F(AppStateTranscription, QuittingDoesNotCancelItYet) {
    m_app.transcribeEnabled = true;
    recordAndStop();
    m_app.teardownOnQuit({});
    settle();
    EXPECT_FALSE(m_transcriptionStop.stop_requested());
    EXPECT_FALSE(m_app.isTranscribing);
}

} // namespace

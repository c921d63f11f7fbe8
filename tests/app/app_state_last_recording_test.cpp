#include "app/app_state_fixture.h"

namespace {

using testing::ElementsAre;

class AppStateLastRecording : public AppStateFixture {
  protected:
    /// A recording that is over; returns its folder, which the engine would have made.
    std::filesystem::path recordAndStop() {
        launch();
        std::filesystem::path folder = *record().folder;
        std::filesystem::create_directories(folder);
        m_state->toggleRecording();
        return folder;
    }
};

TEST_F(AppStateLastRecording, WithoutOneThereIsNoTranscriptAndTheFolderOfAllIsShown) {
    const std::filesystem::path all = placeOfRecordings();
    AppState& state = launch();
    EXPECT_EQ(state.lastTranscriptURL(), std::nullopt);
    EXPECT_FALSE(exists(all));
    state.revealLastRecording();
    EXPECT_THAT(m_workspace.opened, ElementsAre(all));
    EXPECT_TRUE(is_directory(all)) << "made on access";
}

TEST_F(AppStateLastRecording, RightAfterAStopWithoutTranscriptionThereIsNoTranscript) {
    recordAndStop();
    EXPECT_EQ(m_state->lastTranscriptURL(), std::nullopt);
}

TEST_F(AppStateLastRecording, TheTranscriptIsThereAsLongAsItsFileExists) {
    const std::filesystem::path transcript = recordAndStop() / "transcript.txt";
    m_announced.clear();
    writeFile(transcript, "Me: hello\n");
    EXPECT_EQ(m_state->lastTranscriptURL(), transcript);
    std::filesystem::remove(transcript);
    EXPECT_EQ(m_state->lastTranscriptURL(), std::nullopt);
    EXPECT_TRUE(m_announced.empty());
}

TEST_F(AppStateLastRecording, RevealShowsItsFolder) {
    const std::filesystem::path folder = recordAndStop();
    m_state->revealLastRecording();
    EXPECT_THAT(m_workspace.opened, ElementsAre(folder));
}

TEST_F(AppStateLastRecording, AfterAStopWithoutResultRevealShowsTheFolderOfAll) {
    recordAndStop();
    record().files = std::nullopt;
    m_state->toggleRecording();
    m_state->revealLastRecording();
    EXPECT_THAT(m_workspace.opened, ElementsAre(placeOfRecordings()));
}

} // namespace

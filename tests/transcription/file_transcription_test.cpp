#include "transcription/file_transcription.h"

#include "support/call_journal.h"
#include "support/fake_audio_file_info.h"
#include "support/fake_speech_engine.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>
#include <limits>
#include <optional>

namespace {

using Calls = std::vector<std::string>;
using Lines = std::vector<std::string>;

class FileTranscription : public testing::Test {
  protected:
    FileTranscription() {
        m_engine.scripts.resize(1);
        m_files.known["voice.m4a"] = {48000, 48000};
    }
    SpeechScript& script() { return m_engine.scripts.front(); }
    std::vector<Segment> transcribe() {
        return transcribeFile(m_engine, m_files, {"/rec/voice.m4a", Locale("en_US"), "You"},
                              {m_caller.get_token()}, [this](const Segment& s) { m_reported.push_back(s); });
    }
    /// The printed error with which it ends.
    std::string failure() {
        try {
            transcribe();
        } catch (const Error& error) {
            return error.printed();
        }
        return "none";
    }

    LogCapture m_log;
    CallJournal m_journal;
    FakeSpeechEngine m_engine{m_journal};
    FakeAudioFileInfo m_files{m_journal};
    std::stop_source m_caller;
    std::vector<Segment> m_reported;
};

const Error broken("engine", 7, "Broken.");
const std::string printedBroken = "Error Domain=engine Code=7 \"Broken.\"";

TEST_F(FileTranscription, TakesTheStepsInOrder) {
    script().installed = false;
    script().lastSampleTime = 1.5;
    transcribe();
    EXPECT_EQ(m_journal.calls(), (Calls{"module en_US", "installationRequest", "downloadAndInstall",
                                        "open voice.m4a", "collectResults", "analyse voice.m4a",
                                        "finalizeAndFinish 1.5", "waitForResults", "~module"}));
}

TEST_F(FileTranscription, InstalledModelIsNeitherLoggedNorDownloaded) {
    transcribe();
    EXPECT_EQ(m_log.messages(), Lines{});
    EXPECT_EQ(m_journal.calls(),
              (Calls{"module en_US", "installationRequest", "open voice.m4a", "collectResults",
                     "analyse voice.m4a", "finalizeAndFinish 60.0", "waitForResults", "~module"}));
}

TEST_F(FileTranscription, MissingModelIsLoggedBeforeItsDownload) {
    script().installed = false;
    Lines linesAtDownload;
    script().inDownloadAndInstall = [&](const WorkLimits&) { linesAtDownload = m_log.messages(); };
    transcribe();
    EXPECT_EQ(linesAtDownload, Lines{"[ts] downloading speech model for en_US"});
    EXPECT_EQ(m_log.messages(), linesAtDownload);
}

TEST_F(FileTranscription, TextIsTrimmedAndKeepsItsStart) {
    script().results = {{"  hello \n", 1.5}};
    EXPECT_EQ(transcribe(), (std::vector<Segment>{{1.5, "You", "hello"}}));
}

TEST_F(FileTranscription, UnicodeWhiteSpaceIsTrimmedToo) {
    script().results = {{"\xC2\xA0\xE3\x80\x80h\xC3\xB6r mal\xE2\x80\xA8", 1.5}};
    EXPECT_EQ(transcribe(), (std::vector<Segment>{{1.5, "You", "h\xC3\xB6r mal"}}));
}

TEST_F(FileTranscription, EmptyAndBlankTextsAreDropped) {
    script().results = {{"", 1}, {"   ", 2}, {"\xE2\x80\x89\n", 3}, {"kept", 4}};
    EXPECT_EQ(transcribe(), (std::vector<Segment>{{4, "You", "kept"}}));
    EXPECT_EQ(m_reported, (std::vector<Segment>{{4, "You", "kept"}}));
}

TEST_F(FileTranscription, StartThatIsNotFiniteIsTheBeginning) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    script().results = {{"a", infinity}, {"b", -infinity}, {"c", std::numeric_limits<double>::quiet_NaN()}};
    EXPECT_EQ(transcribe(), (std::vector<Segment>{{0, "You", "a"}, {0, "You", "b"}, {0, "You", "c"}}));
}

TEST_F(FileTranscription, StartThatNoClockCanShowIsTheBeginning) {
    script().results = {{"a", 1e19}, {"b", -1e300}, {"c", 9e18}};
    EXPECT_EQ(transcribe(), (std::vector<Segment>{{0, "You", "a"}, {0, "You", "b"}, {9e18, "You", "c"}}));
}

TEST_F(FileTranscription, SegmentsKeepTheOrderOfTheEngine) {
    script().results = {{"late", 9}, {"early", 2}};
    script().finalizingResults = {{"middle", 5}};
    const std::vector<Segment> expected{{9, "You", "late"}, {2, "You", "early"}, {5, "You", "middle"}};
    EXPECT_EQ(transcribe(), expected);
    EXPECT_EQ(m_reported, expected);
}

TEST_F(FileTranscription, WithoutLastSampleTimeItCancelsAndKeepsTheResults) {
    script().lastSampleTime = std::nullopt;
    script().results = {{"kept", 1}};
    EXPECT_EQ(transcribe(), (std::vector<Segment>{{1, "You", "kept"}}));
    EXPECT_EQ(m_journal.calls(),
              (Calls{"module en_US", "installationRequest", "open voice.m4a", "collectResults",
                     "analyse voice.m4a", "cancelAndFinishNow", "waitForResults", "~module"}));
}

TEST_F(FileTranscription, SilenceIsAnEmptyListAndNoError) {
    EXPECT_EQ(transcribe(), std::vector<Segment>{});
}

TEST_F(FileTranscription, EngineWithoutTheLocaleEndsIt) {
    script().inModule = throws(broken);
    EXPECT_EQ(failure(), printedBroken);
    EXPECT_EQ(m_journal.calls(), Calls{"module en_US"});
}

TEST_F(FileTranscription, FailedInstallationRequestEndsIt) {
    script().inInstallationRequest = throws(broken);
    EXPECT_EQ(failure(), printedBroken);
    EXPECT_EQ(m_journal.calls(), (Calls{"module en_US", "installationRequest", "~module"}));
}

TEST_F(FileTranscription, FailedDownloadEndsItBeforeTheFileIsOpened) {
    script().installed = false;
    script().inDownloadAndInstall = throws(broken);
    EXPECT_EQ(failure(), printedBroken);
    EXPECT_EQ(m_journal.calls(),
              (Calls{"module en_US", "installationRequest", "downloadAndInstall", "~module"}));
}

TEST_F(FileTranscription, UnreadableFileEndsItBeforeAnyAnalysis) {
    m_files.known.clear();
    EXPECT_EQ(failure(), FakeAudioFileInfo::unreadable().printed());
    EXPECT_EQ(m_journal.calls(), (Calls{"module en_US", "installationRequest", "open voice.m4a", "~module"}));
}

TEST_F(FileTranscription, FailedAnalysisEndsItWithoutWaitingForResults) {
    script().results = {{"lost", 1}};
    script().inAnalyse = throws(broken);
    EXPECT_EQ(failure(), printedBroken);
    EXPECT_EQ(m_journal.calls(), (Calls{"module en_US", "installationRequest", "open voice.m4a",
                                        "collectResults", "analyse voice.m4a", "~module"}));
}

TEST_F(FileTranscription, FailedFinalizationEndsIt) {
    script().results = {{"lost", 1}};
    script().inFinalizeAndFinish = throws(broken);
    EXPECT_EQ(failure(), printedBroken);
    EXPECT_EQ(m_journal.calls().back(), "~module");
}

TEST_F(FileTranscription, ResultsThatBreakOffEndIt) {
    script().results = {{"lost", 1}};
    script().inWaitForResults = throws(broken);
    EXPECT_EQ(failure(), printedBroken);
}

TEST_F(FileTranscription, FailuresAreNotLoggedHere) {
    script().inAnalyse = throws(broken);
    failure();
    EXPECT_EQ(m_log.messages(), Lines{});
}

TEST_F(FileTranscription, StopReachesTheDownload) {
    script().installed = false;
    script().inDownloadAndInstall = [this](const WorkLimits&) { m_caller.request_stop(); };
    EXPECT_EQ(failure(), "Error Domain=engine Code=1 \"Download cancelled.\"");
}

TEST_F(FileTranscription, StopReachesTheAnalysis) {
    script().inAnalyse = [this](const std::stop_token&) { m_caller.request_stop(); };
    EXPECT_EQ(failure(), "Error Domain=engine Code=1 \"Recognition cancelled.\"");
}

} // namespace

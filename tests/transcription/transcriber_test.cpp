#include "transcription/transcriber.h"

#include "transcription/transcriber_fixture.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace {

// The locale

using PickLocale = TranscriberTest;

TEST_F(PickLocale, ChoosesAmongTheLocalesOfTheEngine) {
    m_current = Locale("de_AT");
    m_engine.supported = {Locale("en_US"), Locale("de_DE")};
    EXPECT_EQ(m_transcriber.pickLocale().identifier(), "de_DE");
}

TEST_F(PickLocale, AsksAfreshEachTime) {
    m_current = Locale("de_AT");
    EXPECT_EQ(m_transcriber.pickLocale().identifier(), "en_US");
    m_engine.supported = {Locale("de_DE"), Locale("fr_FR")};
    EXPECT_EQ(m_transcriber.pickLocale().identifier(), "de_DE");
    m_current = Locale("fr_CA");
    EXPECT_EQ(m_transcriber.pickLocale().identifier(), "fr_FR");
}

TEST_F(PickLocale, EngineThatCannotTellYieldsAmericanEnglish) {
    m_current = Locale("de_DE");
    m_engine.supported = {Locale("de_DE")};
    m_engine.inSupportedLocales = [] { throw std::runtime_error("no catalogue"); };
    EXPECT_EQ(m_transcriber.pickLocale().identifier(), "en_US");
}

TEST_F(PickLocale, LogsNothing) {
    m_transcriber.pickLocale();
    EXPECT_EQ(m_log.messages(), Lines{});
}

// One file

TEST_F(TranscriberTest, TranscribesOneFileForOneSpeakerWithoutWritingAnything) {
    addTrack("talk.m4a", 5, hears({{" later ", 3}, {"first", 1}}));
    EXPECT_EQ(m_transcriber.transcribe(m_folder / "talk.m4a", Locale("de_DE"), "Eva", {}),
              (std::vector<Segment>{{3, "Eva", "later"}, {1, "Eva", "first"}}));
    EXPECT_TRUE(called("module de_DE"));
    EXPECT_FALSE(std::filesystem::exists(transcript()));
}

TEST_F(TranscriberTest, StopEndsTheTranscriptionOfOneFile) {
    addTrack("talk.m4a", 5);
    m_caller.request_stop();
    EXPECT_THROW(
        m_transcriber.transcribe(m_folder / "talk.m4a", Locale("de_DE"), "Eva", m_caller.get_token()), Error);
}

using TranscribeRecording = TranscriberTest;

TEST_F(TranscribeRecording, MergesBothTracksAndReturnsThePathOfTheTranscript) {
    addTrack("voice.m4a", 12, hears({{"Can you hear me?", 3.2}, {"Good.", 9}}));
    addTrack("system.m4a", 12, hears({{"Yes, loud and clear.", 4.7}}));
    EXPECT_EQ(transcribe(), transcript());
    EXPECT_EQ(text(),
              "[00:03] You: Can you hear me?\n[00:04] Audio: Yes, loud and clear.\n[00:09] You: Good.");
    EXPECT_EQ(m_log.messages(), (Lines{"[ts] locale=en_US", "[ts] wrote transcript.txt segments=3"}));
}

TEST_F(TranscribeRecording, TracksAreTranscribedOneAfterTheOtherTheMicrophoneFirst) {
    addTrack("voice.m4a", 12, hears({{"a", 1}}));
    addTrack("system.m4a", 12);
    transcribe();
    EXPECT_EQ(
        m_journal.calls(),
        (Lines{"facts voice.m4a", "module en_US", "installationRequest", "open voice.m4a", "collectResults",
               "analyse voice.m4a", "finalizeAndFinish 60.0", "waitForResults", "~module", "facts system.m4a",
               "module en_US", "installationRequest", "open system.m4a", "collectResults",
               "analyse system.m4a", "finalizeAndFinish 60.0", "waitForResults", "~module"}));
}

TEST_F(TranscribeRecording, MixIsNotTranscribed) {
    addTrack("voice.m4a", 12, hears({{"a", 1}}));
    addTrack("mix.m4a", 12, hears({{"b", 1}}));
    transcribe();
    EXPECT_EQ(text(), "[00:01] You: a");
    EXPECT_FALSE(called("facts mix.m4a"));
    EXPECT_FALSE(called("open mix.m4a"));
}

TEST_F(TranscribeRecording, UsesThePickedLocaleAndLogsItsPlatformIdentifier) {
    m_current = Locale("de_AT");
    m_engine.supported = {Locale("en_US"), Locale("de_DE")};
    addTrack("voice.m4a", 12, hears({{"a", 1}}));
    transcribe();
    EXPECT_EQ(m_log.messages().front(), "[ts] locale=de_DE");
    EXPECT_TRUE(called("module de_DE"));
}

// The text

TEST_F(TranscribeRecording, AtEqualTimesYouComesBeforeAudio) {
    addTrack("voice.m4a", 30, hears({{"a", 5.0}}));
    addTrack("system.m4a", 30, hears({{"b", 5.0}}));
    transcribe();
    EXPECT_EQ(text(), "[00:05] You: a\n[00:05] Audio: b");
}

TEST_F(TranscribeRecording, ASingleSegmentIsOneLineWithoutLineFeed) {
    addTrack("voice.m4a", 30, hears({{"a", 59.99}}));
    transcribe();
    EXPECT_EQ(text(), "[00:59] You: a");
}

// Progress

TEST_F(TranscribeRecording, ReportsTheStartOfEachTrackAndEachUtterance) {
    addTrack("voice.m4a", 30, hears({{"a", 4.5}, {" ", 6}, {"b", 8}}));
    addTrack("system.m4a", 12, hears({{"c", 2}}));
    Lines reports;
    m_transcriber.onProgress = [&](const TranscriptionProgress& p) {
        reports.push_back(p.track + " " + shortestDecimal(p.secondsDone) + "/" + shortestDecimal(p.duration));
    };
    transcribe();
    EXPECT_EQ(reports, (Lines{"voice.m4a 0.0/30.0", "voice.m4a 4.5/30.0", "voice.m4a 8.0/30.0",
                              "system.m4a 0.0/12.0", "system.m4a 2.0/12.0"}));
}

TEST_F(TranscribeRecording, SkippedTracksReportNoProgress) {
    addTrack("voice.m4a", 0.3);
    int reports = 0;
    m_transcriber.onProgress = [&](const TranscriptionProgress&) { ++reports; };
    failure();
    EXPECT_EQ(reports, 0);
}

} // namespace

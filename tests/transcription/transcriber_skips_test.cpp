#include "transcription/transcriber.h"

#include "support/ordinary_user.h"
#include "transcription/transcriber_fixture.h"

#include <clocale>
#include <gtest/gtest.h>
#include <locale>
#include <stdexcept>
#include <unistd.h>

namespace {

using TranscribeRecording = TranscriberTest;

TEST_F(TranscribeRecording, AFolderWithNeitherTrackThrowsNoSpeechRecognizedAndWritesNothing) {
    EXPECT_EQ(failure(), noSpeech);
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.path()));
    EXPECT_EQ(m_log.messages(), Lines{"[ts] locale=en_US"});
}

TEST_F(TranscribeRecording, AFolderThatDoesNotExistThrowsNoSpeechRecognized) {
    std::filesystem::remove(m_folder.path());
    EXPECT_EQ(failure(), noSpeech);
    EXPECT_FALSE(std::filesystem::exists(m_folder.path()));
}

TEST_F(TranscribeRecording, AFolderThatCannotBeReadThrowsNoSpeechRecognized) {
    addTrack("voice.m4a", 12, hears({{"a", 1}}));
    const OrdinaryUser user({m_folder.path()});
    std::filesystem::permissions(m_folder.path(), std::filesystem::perms::none);
    EXPECT_EQ(failure(), noSpeech);
    std::filesystem::permissions(m_folder.path(), std::filesystem::perms::owner_all);
}

TEST_F(TranscribeRecording, AFolderWithOnlyTheSystemTrackYieldsOnlyAudioLines) {
    addTrack("system.m4a", 12, hears({{"one", 1}, {"two", 2}}));
    transcribe();
    EXPECT_EQ(text(), "[00:01] Audio: one\n[00:02] Audio: two");
}

TEST_F(TranscribeRecording, ATrackOfExactlyHalfASecondIsSkippedWithALogLine) {
    addTrack("voice.m4a", 0.5, hears({{"never heard", 0}}));
    EXPECT_EQ(failure(), noSpeech);
    EXPECT_EQ(m_log.messages(), (Lines{"[ts] locale=en_US", "[ts] skipping voice.m4a: 0.50s of audio"}));
    EXPECT_FALSE(called("module en_US"));
}

TEST_F(TranscribeRecording, ATrackOfAHundredthMoreIsTranscribed) {
    addTrack("voice.m4a", 0.51, hears({{"hm", 0}}));
    transcribe();
    EXPECT_EQ(text(), "[00:00] You: hm");
}

TEST_F(TranscribeRecording, ATrackOneSampleLongerThanHalfASecondIsTranscribed) {
    addFile("voice.m4a", {24001, 48000});
    m_engine.scripts = {hears({{"hm", 0}})};
    transcribe();
    EXPECT_EQ(text(), "[00:00] You: hm");
}

struct DecimalComma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
};

TEST_F(TranscribeRecording, LengthOfASkippedTrackIsLoggedWithAPointInEveryLocale) {
    const std::locale previous =
        std::locale::global(std::locale(std::locale::classic(), new DecimalComma)); // for streams
    std::setlocale(LC_ALL, "de_DE.UTF-8"); // for printf, if installed
    addTrack("voice.m4a", 0.42);
    failure();
    std::setlocale(LC_ALL, "C");
    std::locale::global(previous);
    EXPECT_EQ(m_log.messages().back(), "[ts] skipping voice.m4a: 0.42s of audio");
}

TEST_F(TranscribeRecording, LengthOfASkippedTrackIsRoundedToHundredths) {
    addTrack("voice.m4a", 0.416);
    failure();
    EXPECT_EQ(m_log.messages().back(), "[ts] skipping voice.m4a: 0.42s of audio");
}

TEST_F(TranscribeRecording, EmptyTrackIsSkippedWithALogLine) {
    addFile("system.m4a", {0, 48000});
    failure();
    EXPECT_EQ(m_log.messages().back(), "[ts] skipping system.m4a: 0.00s of audio");
}

TEST_F(TranscribeRecording, ATrackWithoutSampleRateIsSkippedSilently) {
    addFile("voice.m4a", {480000, 0});
    addFile("system.m4a", {480000, -48000});
    EXPECT_EQ(failure(), noSpeech);
    EXPECT_EQ(m_log.messages(), Lines{"[ts] locale=en_US"});
    EXPECT_FALSE(called("module en_US"));
}

TEST_F(TranscribeRecording, AnUnreadableTrackIsSkippedSilently) {
    writeFile(m_folder / "voice.m4a", "garbage");
    addTrack("system.m4a", 12, hears({{"one", 1}}));
    transcribe();
    EXPECT_EQ(text(), "[00:01] Audio: one");
    EXPECT_EQ(m_log.messages(), (Lines{"[ts] locale=en_US", "[ts] wrote transcript.txt segments=1"}));
}

TEST_F(TranscribeRecording, TheLengthOfATrackIsTakenOnce) {
    addTrack("voice.m4a", 12, hears({{"one", 1}}));
    transcribe();
    const auto calls = m_journal.calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "facts voice.m4a"), 1);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "open voice.m4a"), 1);
}

TEST_F(TranscribeRecording, AStopWhileALengthIsTakenEndsItAsCancelled) {
    addTrack("voice.m4a", 12, hears({{"never heard", 1}}));
    m_files.inFacts = [this](const std::stop_token& stop) {
        m_caller.request_stop();
        if (stop.stop_requested()) throw FakeAudioFileInfo::unreadable();
    };
    EXPECT_EQ(failure(), cancelled);
    EXPECT_EQ(m_log.messages(), Lines{"[ts] locale=en_US"});
    EXPECT_FALSE(called("module en_US"));
}

TEST_F(TranscribeRecording, AReaderThatBreaksItsWordIsSkippedSilentlyToo) {
    addTrack("voice.m4a", 12, hears({{"one", 1}}));
    m_files.inFacts = [](const std::stop_token&) { throw std::length_error("absurd file"); };
    EXPECT_EQ(failure(), noSpeech);
    EXPECT_EQ(m_log.messages(), Lines{"[ts] locale=en_US"});
}

TEST_F(TranscribeRecording, ATrackThatBecomesUnreadableAfterItsLengthWasTakenFails) {
    addTrack("voice.m4a", 12);
    m_files.inOpen = [] { throw FakeAudioFileInfo::unreadable(); };
    EXPECT_EQ(failure(), noSpeech);
    EXPECT_EQ(m_log.messages().back(), "[ts] voice.m4a failed: " + FakeAudioFileInfo::unreadable().printed());
}

} // namespace

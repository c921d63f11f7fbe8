#include "transcription/transcriber.h"

#include "transcription/transcriber_fixture.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <stdexcept>

namespace {

using TranscribeRecording = TranscriberTest;

using namespace std::chrono_literals;

// Time-outs

/// Lets the track run until just before the time given, then up to it.
ScriptStep expectStopAt(ManualQueue& timers, SerialQueue::Time timeout, bool& reached) {
    return [&timers, timeout, &reached](const std::stop_token& stop) {
        timers.advance(timeout - 1ns);
        EXPECT_FALSE(stop.stop_requested());
        timers.advance(1ns);
        EXPECT_TRUE(stop.stop_requested());
        reached = true;
    };
}

TEST_F(TranscribeRecording, AShortTrackMayTakeThreeMinutes) {
    bool reached = false;
    addTrack("voice.m4a", 30, does(expectStopAt(m_timers, 180s, reached)));
    EXPECT_EQ(failure(), noSpeech);
    EXPECT_TRUE(reached);
}

TEST_F(TranscribeRecording, ALongTrackMayTakeThreeTimesItsLength) {
    bool reached = false;
    addTrack("voice.m4a", 100, does(expectStopAt(m_timers, 300s, reached)));
    EXPECT_EQ(failure(), noSpeech);
    EXPECT_TRUE(reached);
}

TEST_F(TranscribeRecording, DownloadCountsAgainstTheTimeOfItsTrack) {
    SpeechScript script = hears({{"too late", 1}});
    script.installed = false;
    script.inDownloadAndInstall = [this](const WorkLimits&) { m_timers.advance(180s); };
    addTrack("voice.m4a", 30, script);
    EXPECT_EQ(failure(), noSpeech);
    EXPECT_EQ(m_log.messages(), (Lines{"[ts] locale=en_US", "[ts] downloading speech model for en_US",
                                       "[ts] voice.m4a failed: " + timedOut}));
}

TEST_F(TranscribeRecording, AThirdOfATracksTimeIsLeftForTheRecognitionItself) {
    for (const auto& [seconds, share] : {std::pair(30.0, 120s), std::pair(100.0, 200s)}) {
        SCOPED_TRACE(seconds);
        SpeechScript script;
        script.installed = false;
        script.inDownloadAndInstall = [&, limit = share](const WorkLimits& limits) {
            m_timers.advance(limit - 1ns);
            EXPECT_FALSE(limits.endPreparations.stop_requested());
            m_timers.advance(1ns);
            EXPECT_TRUE(limits.endPreparations.stop_requested());
            EXPECT_FALSE(limits.stop.stop_requested());
        };
        bool reached = false;
        script.inAnalyse = expectStopAt(m_timers, share / 2, reached);
        addTrack("voice.m4a", seconds, script);
        EXPECT_EQ(failure(), noSpeech);
        EXPECT_TRUE(reached);
    }
}

TEST_F(TranscribeRecording, TimeoutOfTheFirstTrackKeepsTheSecond) {
    addTrack("voice.m4a", 30, does([this](const std::stop_token&) { m_timers.advance(180s); }));
    m_engine.scripts[0].results = {{"lost", 1}};
    addTrack("system.m4a", 30, hears({{"kept", 2}, {"too", 3}}));
    EXPECT_EQ(transcribe(), transcript());
    EXPECT_EQ(text(), "[00:02] Audio: kept\n[00:03] Audio: too");
    EXPECT_EQ(m_log.messages(), (Lines{"[ts] locale=en_US", "[ts] voice.m4a failed: " + timedOut,
                                       "[ts] wrote transcript.txt segments=2"}));
}

TEST_F(TranscribeRecording, LeftoverTimerOfTheFirstTrackDoesNotStopTheSecond) {
    addTrack("voice.m4a", 30, does([this](const std::stop_token&) { m_timers.advance(100s); }));
    addTrack("system.m4a", 30, does([this](const std::stop_token&) { m_timers.advance(179s); }));
    m_engine.scripts[1].results = {{"kept", 2}};
    transcribe();
    EXPECT_EQ(text(), "[00:02] Audio: kept");
}

TEST_F(TranscribeRecording, DamagedFileThatClaimsAnAbsurdLengthIsStillTried) {
    addFile("voice.m4a", {std::numeric_limits<std::int64_t>::max(), 1e-300});
    m_engine.scripts = {hears({{"hm", 0}})};
    transcribe();
    EXPECT_EQ(text(), "[00:00] You: hm");
}

// Failures

TEST_F(TranscribeRecording, FailureOfTheSecondTrackKeepsTheFirst) {
    addTrack("voice.m4a", 30, hears({{"kept", 2}}));
    addTrack("system.m4a", 30, does(throws(Error("engine", 7, "Broken."))));
    transcribe();
    EXPECT_EQ(text(), "[00:02] You: kept");
    EXPECT_EQ(m_log.messages(),
              (Lines{"[ts] locale=en_US", "[ts] system.m4a failed: Error Domain=engine Code=7 \"Broken.\"",
                     "[ts] wrote transcript.txt segments=1"}));
}

TEST_F(TranscribeRecording, FailedDownloadIsTriedAgainForTheNextTrack) {
    SpeechScript script;
    script.installed = false;
    script.inDownloadAndInstall = throws(Error("engine", 5, "No network."));
    addTrack("voice.m4a", 30, script);
    addTrack("system.m4a", 30, script);
    EXPECT_EQ(failure(), noSpeech);
    EXPECT_EQ(m_log.messages(),
              (Lines{"[ts] locale=en_US", "[ts] downloading speech model for en_US",
                     "[ts] voice.m4a failed: Error Domain=engine Code=5 \"No network.\"",
                     "[ts] downloading speech model for en_US",
                     "[ts] system.m4a failed: Error Domain=engine Code=5 \"No network.\""}));
}

TEST_F(TranscribeRecording, ExceptionsOfAnyTypeEndAsTheFailureOfTheTrack) {
    addTrack("voice.m4a", 30, does(throws(std::runtime_error("out of luck"))));
    addTrack("system.m4a", 30, hears({{"kept", 2}}));
    transcribe();
    EXPECT_EQ(text(), "[00:02] Audio: kept");
    EXPECT_EQ(m_log.messages()[1], "[ts] voice.m4a failed: Error Domain=engine Code=1 \"out of luck\"");
}

TEST_F(TranscribeRecording, AnOlderTranscriptStaysWhenNothingWasRecognised) {
    writeFile(transcript(), "older");
    addTrack("voice.m4a", 30);
    EXPECT_EQ(failure(), noSpeech);
    EXPECT_EQ(text(), "older");
}

TEST_F(TranscribeRecording, AnOlderTranscriptIsReplaced) {
    writeFile(transcript(), "older and longer than what comes");
    addTrack("voice.m4a", 30, hears({{"a", 1}}));
    transcribe();
    EXPECT_EQ(text(), "[00:01] You: a");
}

TEST_F(TranscribeRecording, TranscriptThatCannotBeWrittenIsThrownAndNotLoggedAsWritten) {
    std::filesystem::create_directory(transcript());
    addTrack("voice.m4a", 30, hears({{"a", 1}}));
    EXPECT_EQ(failure(), Error::posix(EISDIR).printed());
    EXPECT_EQ(m_log.messages(), Lines{"[ts] locale=en_US"});
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_folder.path()),
                            std::filesystem::directory_iterator()),
              2); // voice.m4a and the folder in the way
}

// Stop

TEST_F(TranscribeRecording, StopDuringATrackStartsNoFurtherTrackAndWritesNothing) {
    addTrack("voice.m4a", 30, does([this](const std::stop_token& stop) {
                 m_caller.request_stop();
                 EXPECT_TRUE(stop.stop_requested());
             }));
    addTrack("system.m4a", 30, hears({{"never", 1}}));
    EXPECT_EQ(failure(), cancelled);
    EXPECT_FALSE(called("open system.m4a"));
    EXPECT_EQ(m_log.messages().back(),
              "[ts] voice.m4a failed: Error Domain=engine Code=1 \"Recognition cancelled.\"");
    EXPECT_FALSE(std::filesystem::exists(transcript()));
}

TEST_F(TranscribeRecording, StopDuringTheLastTrackWritesNothingEither) {
    addTrack("voice.m4a", 30, hears({{"not written", 1}}));
    addTrack("system.m4a", 30, does([this](const std::stop_token&) { m_caller.request_stop(); }));
    EXPECT_EQ(failure(), cancelled);
    EXPECT_FALSE(std::filesystem::exists(transcript()));
}

TEST_F(TranscribeRecording, StopThatComesTooLateForTheEngineStillWritesNothing) {
    SpeechScript script = hears({{"not written", 1}});
    script.inWaitForResults = [this](const std::stop_token&) { m_caller.request_stop(); };
    addTrack("voice.m4a", 30, script);
    EXPECT_EQ(failure(), cancelled);
    EXPECT_FALSE(std::filesystem::exists(transcript()));
}

TEST_F(TranscribeRecording, StopBeforeTheFirstTrackOpensNothing) {
    addTrack("voice.m4a", 30);
    m_caller.request_stop();
    EXPECT_EQ(failure(), cancelled);
    EXPECT_EQ(m_journal.calls(), Lines{});
}

} // namespace

#pragma once

#include "base/error.h"
#include "support/call_journal.h"
#include "support/fake_audio_file_info.h"
#include "support/fake_speech_engine.h"
#include "support/log_capture.h"
#include "support/manual_queue.h"
#include "support/temporary_folder.h"
#include "transcription/transcriber.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

using Lines = std::vector<std::string>;

/// A recording folder, and an engine whose first script serves the first track that is transcribed.
class TranscriberTest : public testing::Test {
  protected:
    void addTrack(const std::string& name, double seconds, SpeechScript script = {}) {
        addFile(name, {std::llround(seconds * 48000), 48000});
        m_engine.scripts.push_back(std::move(script));
    }
    void addFile(const std::string& name, AudioFileFacts facts) {
        writeFile(m_folder / name, "audio");
        m_files.known[name] = facts;
    }
    static SpeechScript hears(std::vector<SpeechResult> results) {
        SpeechScript script;
        script.results = std::move(results);
        return script;
    }
    static SpeechScript does(ScriptStep inAnalyse) {
        SpeechScript script;
        script.inAnalyse = std::move(inAnalyse);
        return script;
    }
    std::filesystem::path transcribe() {
        return m_transcriber.transcribeRecording(m_folder.path(), m_caller.get_token());
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
    std::filesystem::path transcript() { return m_folder / "transcript.txt"; }
    std::string text() { return contentOf(transcript()); }
    bool called(const std::string& call) {
        const auto calls = m_journal.calls();
        return std::find(calls.begin(), calls.end(), call) != calls.end();
    }

    LogCapture m_log;
    TemporaryFolder m_folder;
    CallJournal m_journal;
    FakeSpeechEngine m_engine{m_journal};
    FakeAudioFileInfo m_files{m_journal};
    ManualQueue m_timers;
    Locale m_current{"en_US"};
    std::stop_source m_caller;
    Transcriber m_transcriber{m_engine, m_files, m_timers, [this] { return m_current; }};
};

inline const std::string noSpeech = "Error Domain=transcriber Code=1 \"No speech recognized.\"";
inline const std::string cancelled = "Error Domain=transcriber Code=3 \"Transcription cancelled.\"";
inline const std::string timedOut = "Error Domain=transcriber Code=2 \"Transcription timed out.\"";

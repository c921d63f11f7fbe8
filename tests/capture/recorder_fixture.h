#pragma once

#include "capture/recorder.h"
#include "support/fake_audio_files.h"
#include "support/fake_mic.h"
#include "support/fake_notices.h"
#include "support/fake_system_audio.h"
#include "support/log_capture.h"
#include "support/manual_queue.h"

#include <gtest/gtest.h>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// A recorder among fakes, in virtual time.
class RecorderFixture : public testing::Test {
  protected:
    RecorderFixture() : m_recorder(std::make_unique<Recorder>(services())) {
        m_recorder->onLevels = [this](float mic, float system) { m_levels.emplace_back(mic, system); };
        m_recorder->onError = [this](std::string message) {
            m_journal.note("error");
            m_errors.push_back(std::move(message));
        };
        m_recorder->onFirstAudio = [this] { ++m_firstAudio; };
    }

    RecorderServices services() {
        return {m_mics,
                m_system,
                m_files,
                m_notices,
                [this](const std::string& label) {
                    auto queue = std::make_unique<ManualQueue>();
                    m_queues[label] = queue.get();
                    return queue;
                },
                m_timers,
                [this](std::chrono::milliseconds time) {
                    m_timers.advance(time);
                    ++m_sleeps;
                    if (m_onSleep) m_onSleep();
                    runQueues();
                }};
    }

    bool startWithFiles() { return m_recorder->start(m_mic, "/recordings/one"); }
    bool startPreview() { return m_recorder->start(m_mic, std::nullopt); }
    void runQueues() {
        for (const char* label : {"tapdeck.io", "tapdeck.mic", "tapdeck.writer"})
            m_queues.at(label)->runAll();
    }
    void hear(std::vector<float> mic) {
        m_mics.deliver(std::move(mic));
        runQueues();
    }
    void play(std::vector<FakeSystemAudio::Buffer> buffers) {
        m_system.deliver(std::move(buffers));
        runQueues();
    }
    std::vector<std::string> log() const { return m_log.messages(); }
    std::vector<std::string> calls() const { return m_journal.calls(); }
    const FakeAudioFiles::File& file(const std::string& name) { return m_files.files.at(name); }

    LogCapture m_log;
    CallJournal m_journal;
    FakeMics m_mics{m_journal};
    FakeSystemAudio m_system{m_journal};
    FakeAudioFiles m_files{m_journal};
    FakeNotices m_notices;
    ManualQueue m_timers;
    std::map<std::string, ManualQueue*> m_queues;
    std::function<void()> m_onSleep;
    int m_sleeps = 0;
    MicChoice m_mic{"mic", "Desk Mic"};
    std::vector<std::pair<float, float>> m_levels;
    std::vector<std::string> m_errors;
    int m_firstAudio = 0;
    std::unique_ptr<Recorder> m_recorder;
};

using Lines = std::vector<std::string>;

#include "app/recorder_engine.h"

#include "support/fake_audio_files.h"
#include "support/fake_mic.h"
#include "support/fake_notices.h"
#include "support/fake_system_audio.h"
#include "support/log_capture.h"
#include "support/manual_queue.h"

#include <gmock/gmock.h>
#include <map>

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

/// Notes when it guards, and tells of sleep when the test says so.
class FakeSleepGuard final : public SleepGuard {
  public:
    FakeSleepGuard(CallJournal& journal, std::function<void()>& beforeSleep)
        : m_journal(journal), m_beforeSleep(beforeSleep) {}
    void start(std::function<void()> beforeSleep) override {
        m_journal.note("guard");
        m_beforeSleep = std::move(beforeSleep);
    }
    void stop() override {
        m_journal.note("guard no more");
        m_beforeSleep = nullptr;
    }

  private:
    CallJournal& m_journal;
    std::function<void()>& m_beforeSleep;
};

class RecorderEngineTest : public testing::Test {
  protected:
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
                [this](std::chrono::milliseconds) {
                    m_mics.deliver({0.5F});
                    runQueues();
                }};
    }
    void runQueues() {
        for (const char* label : {"tapdeck.mic", "tapdeck.io", "tapdeck.mic", "tapdeck.writer"})
            m_queues.at(label)->runAll();
    }
    bool record() { return m_engine->start({"mic", "Desk Mic"}, "/recordings/one"); }
    /// The lookout finds no block for so long.
    void hearNothing(std::chrono::seconds time) { m_queues.at("tapdeck.lookout")->advance(time); }

    LogCapture m_log;
    CallJournal m_journal, m_guardJournal;
    FakeMics m_mics{m_journal};
    FakeSystemAudio m_system{m_journal};
    FakeAudioFiles m_files{m_journal};
    FakeNotices m_notices;
    ManualQueue m_timers;
    std::map<std::string, ManualQueue*> m_queues;
    std::function<void()> m_beforeSleep;
    std::weak_ptr<void> m_mark;
    std::unique_ptr<RecorderEngine> m_engine = std::make_unique<RecorderEngine>(
        services(), std::make_unique<FakeSleepGuard>(m_guardJournal, m_beforeSleep), [this] {
            std::shared_ptr<void> mark = std::make_shared<int>();
            m_mark = mark;
            return mark;
        });
};

TEST_F(RecorderEngineTest, ARecordingIsGuardedAgainstSleepFromItsStartToItsStop) {
    ASSERT_TRUE(record());
    EXPECT_THAT(m_guardJournal.calls(), ElementsAre("guard"));
    m_engine->stop();
    m_engine->stop();
    EXPECT_THAT(m_guardJournal.calls(), ElementsAre("guard", "guard no more"));
    EXPECT_TRUE(m_engine->result());
}

TEST_F(RecorderEngineTest, ARecordingIsMarkedAsRunningUntilItsFilesAreClosed) {
    bool wasMarked = false;
    m_files.onClose = [&] { wasMarked = !m_mark.expired(); };
    ASSERT_TRUE(record());
    EXPECT_FALSE(m_mark.expired());
    m_engine->stop();
    EXPECT_TRUE(wasMarked);
    EXPECT_TRUE(m_mark.expired());
}

TEST_F(RecorderEngineTest, ARecordingThatDoesNotStartIsNotMarkedAsRunning) {
    m_mics.presentID = "another";
    m_engine->onError = [](const std::string&) {};
    EXPECT_FALSE(record());
    EXPECT_TRUE(m_mark.expired());
}

TEST_F(RecorderEngineTest, APreviewIsNotMarkedAsARecording) {
    ASSERT_TRUE(m_engine->start({"mic", "Desk Mic"}, std::nullopt));
    EXPECT_TRUE(m_mark.expired());
    m_engine->stop();
}

TEST_F(RecorderEngineTest, ARecordingThatDoesNotStartIsGuardedNoMore) {
    m_mics.presentID = "another";
    std::string message;
    m_engine->onError = [&](std::string said) { message = std::move(said); };
    EXPECT_FALSE(record());
    EXPECT_EQ(message, "Microphone “Desk Mic” is not available. Is it connected?");
    EXPECT_THAT(m_guardJournal.calls(), ElementsAre("guard", "guard no more"));
}

TEST_F(RecorderEngineTest, ALostMicrophoneIsToldDuringARecording) {
    ASSERT_TRUE(record());
    hearNothing(2s);
    EXPECT_THAT(m_notices.told(),
                testing::Contains("“Desk Mic” is gone: your voice is missing until it is back."));
    m_engine->stop();
}

TEST_F(RecorderEngineTest, APreviewIsNeitherGuardedNorToldOf) {
    ASSERT_TRUE(m_engine->start({"mic", "Desk Mic"}, std::nullopt));
    hearNothing(60s);
    m_engine->stop();
    EXPECT_THAT(m_guardJournal.calls(), testing::Not(testing::Contains("guard")));
    EXPECT_THAT(m_notices.told(), IsEmpty());
    EXPECT_FALSE(m_engine->result());
}

TEST_F(RecorderEngineTest, AStopBeforeTheStartKeepsItFromStarting) {
    m_engine->stop();
    EXPECT_FALSE(record());
    EXPECT_THAT(m_journal.calls(), IsEmpty());
    EXPECT_THAT(m_guardJournal.calls(), testing::Not(testing::Contains("guard")));
}

TEST_F(RecorderEngineTest, AnEngineThatGoesWithoutAStopReleasesEverything) {
    ASSERT_TRUE(record());
    m_engine.reset();
    EXPECT_EQ(m_beforeSleep, nullptr);
    EXPECT_FALSE(m_files.files.at("voice.m4a").open);
}

} // namespace

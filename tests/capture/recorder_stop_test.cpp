#include "capture/recorder_fixture.h"

#include "base/thread_queue.h"

#include <thread>

namespace {

class RecorderStop : public RecorderFixture {};

const Lines wholeRelease{"stop audio",      "remove handler",   "mic stop",
                         "mic close",       "destroy device",   "destroy tap",
                         "close voice.m4a", "close system.m4a", "close mix.m4a"};

TEST_F(RecorderStop, ReleasesInOrderAndLogsTheCounters) {
    startWithFiles();
    hear({0.1F});
    m_journal.clear();
    m_recorder->stop();
    EXPECT_EQ(calls(), wholeRelease);
    EXPECT_EQ(log().back(), "[rec] stopped; micCallbacks=1 sysCallbacks=0");
}

TEST_F(RecorderStop, ResultIsStillReadable) {
    startWithFiles();
    m_recorder->stop();
    ASSERT_TRUE(m_recorder->result());
    EXPECT_EQ(m_recorder->result()->mix, "/recordings/one/mix.m4a");
}

TEST_F(RecorderStop, ReleasesNothingTwice) {
    startWithFiles();
    m_recorder->stop();
    m_journal.clear();
    m_recorder->stop();
    m_recorder.reset();
    EXPECT_TRUE(calls().empty());
}

TEST_F(RecorderStop, WithoutProcSkipsItAndReleasesTheRest) {
    m_system.registered = {-1, std::nullopt};
    startWithFiles();
    m_journal.clear();
    m_recorder->stop();
    EXPECT_EQ(calls(), Lines(wholeRelease.begin() + 2, wholeRelease.end()));
}

TEST_F(RecorderStop, OfAFailedStartOnlyLogs) {
    m_mics.presentID = "another";
    startWithFiles();
    m_journal.clear();
    m_recorder->stop();
    EXPECT_TRUE(calls().empty());
    EXPECT_EQ(log().back(), "[rec] stopped; micCallbacks=0 sysCallbacks=0");
}

TEST_F(RecorderStop, EverythingQueuedIsWrittenBeforeTheFilesClose) {
    startWithFiles();
    m_mics.deliver({0.25F, 0.5F});
    m_system.deliverStereo({0.1F, 0.2F});
    m_recorder->stop();
    EXPECT_EQ(file("voice.m4a").left, (std::vector<float>{0.25F, 0.5F}));
    EXPECT_EQ(file("system.m4a").right, std::vector<float>{0.2F});
    EXPECT_FALSE(file("mix.m4a").open);
}

TEST_F(RecorderStop, NothingArrivesAfterIt) {
    startWithFiles();
    m_recorder->stop();
    m_levels.clear();
    hear({0.5F});
    play({{2, {0.5F, 0.5F}}});
    EXPECT_TRUE(m_levels.empty());
    EXPECT_TRUE(file("voice.m4a").left.empty());
}

TEST_F(RecorderStop, RecorderThatIsDestroyedWithoutItReleasesEverythingInOrder) {
    startWithFiles();
    m_journal.clear();
    m_recorder.reset();
    EXPECT_EQ(calls(), wholeRelease);
}

TEST_F(RecorderStop, DuringTheWaitEndsTheStartWithoutAMessage) {
    m_onSleep = [this] {
        if (m_sleeps == 5) m_recorder->stop();
    };
    EXPECT_FALSE(startWithFiles());
    EXPECT_EQ(m_sleeps, 5);
    EXPECT_TRUE(m_errors.empty());
    EXPECT_EQ(calls(),
              (Lines{"mic open mic", "create voice.m4a", "create system.m4a", "create mix.m4a", "mic start",
                     "mic stop", "mic close", "close voice.m4a", "close system.m4a", "close mix.m4a"}));
}

TEST_F(RecorderStop, BeforeTheStartLetsNothingBegin) {
    m_recorder->stop();
    EXPECT_FALSE(startWithFiles());
    EXPECT_TRUE(m_errors.empty());
    EXPECT_EQ(calls(), (Lines{"mic open mic", "mic close"}));
}

TEST_F(RecorderStop, FromTheErrorHookOfAFailingStartReleasesOnce) {
    m_system.device = {-1, 0};
    m_recorder->onError = [this](const std::string&) { m_recorder->stop(); };
    EXPECT_FALSE(startWithFiles());
    EXPECT_EQ(calls(), (Lines{"mic open mic", "create voice.m4a", "create system.m4a", "create mix.m4a",
                              "mic start", "create tap", "create device", "mic stop", "mic close",
                              "destroy tap", "close voice.m4a", "close system.m4a", "close mix.m4a"}));
}

/// Stop comes from another thread while start is at any of its steps, with real queues.
TEST_F(RecorderStop, AtAnyMomentOfTheStartLeavesNothingHeld) {
    for (int round = 0; round < 200; ++round) {
        m_journal.clear();
        RecorderServices real = services();
        ThreadQueue timers("timers");
        real.makeQueue = [](std::string label) { return std::make_unique<ThreadQueue>(std::move(label)); };
        real.sleep = [this](std::chrono::milliseconds) { m_mics.deliver({0.1F}); };
        Recorder recorder(
            {real.mics, real.systemAudio, real.files, real.notices, real.makeQueue, timers, real.sleep});
        std::jthread starter([&] { recorder.start(m_mic, "/recordings/one"); });
        for (int spin = 0; spin < round * 20; ++spin) m_mics.deliver({0.2F});
        recorder.stop();
        starter.join();
        std::map<std::string, int> held;
        for (const std::string& call : calls()) {
            const std::string what = call.substr(call.find(' ') + 1);
            if (call.starts_with("create ") || call.starts_with("register ")) ++held[what];
            if (call.starts_with("close ") || call.starts_with("destroy ") || call.starts_with("remove "))
                --held[what];
        }
        for (const auto& [what, count] : held) EXPECT_EQ(count, 0) << what << " in round " << round;
        EXPECT_FALSE(m_mics.running());
    }
}

} // namespace

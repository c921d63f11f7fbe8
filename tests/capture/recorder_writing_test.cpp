#include "capture/recorder_fixture.h"

#include "base/thread_queue.h"

#include <future>
#include <thread>

namespace {

using namespace std::chrono_literals;
using Samples = std::vector<float>;

constexpr std::size_t second = 48000;
const Lines behindInTheLog{"[rec] a minute of sound waits to be written; what comes now is dropped"};
const Lines behindInWords{
    "The disk has not kept up with the recording for a minute. Until it does, silence is "
    "recorded."};

class RecorderWriting : public RecorderFixture {
  protected:
    void start() {
        m_onSleep = [this] { m_mics.deliverRaw({}, 0, false); };
        ASSERT_TRUE(startWithFiles());
        play({});
        m_log.clear();
    }
    /// A second of both sources with this value, captured while the writer does nothing.
    void captureSecond(float value) {
        m_system.deliver({{1, Samples(second, value / 4)}});
        m_queues.at("tapdeck.io")->runAll();
        m_mics.deliver(Samples(second, value));
        m_queues.at("tapdeck.mic")->runAll();
    }
    ManualQueue& writer() { return *m_queues.at("tapdeck.writer"); }
};

TEST_F(RecorderWriting, DiskThatStallsForTwoMinutesCostsTheSecondMinuteAndShiftsNothing) {
    start();
    for (int i = 0; i < 120; ++i) {
        captureSecond(0.25F);
        ASSERT_LE(writer().pending(), 120U) << "of both sources, in seconds";
    }
    writer().runAll();
    for (int i = 0; i < 5; ++i) {
        captureSecond(0.5F);
        writer().runAll();
    }
    m_recorder->stop();
    const std::map<std::string, std::pair<float, float>> values{
        {"voice.m4a", {0.25F, 0.5F}}, {"system.m4a", {0.0625F, 0.125F}}, {"mix.m4a", {0.3125F, 0.625F}}};
    for (const auto& [name, value] : values) {
        Samples expected(60 * second, value.first);
        expected.resize(120 * second, 0);
        expected.resize(125 * second, value.second);
        EXPECT_TRUE(file(name).left == expected) << name;
        EXPECT_TRUE(file(name).right == expected) << name;
    }
}

TEST_F(RecorderWriting, StopDuringTheStallEndsTheFilesWithTheLastSoundThatWasKept) {
    start();
    for (int i = 0; i < 90; ++i) captureSecond(0.25F);
    m_recorder->stop();
    for (const char* name : {"voice.m4a", "system.m4a", "mix.m4a"}) {
        EXPECT_EQ(file(name).left.size(), 60 * second) << name;
        EXPECT_FALSE(file(name).open) << name;
    }
}

TEST_F(RecorderWriting, UserIsToldOnceThatTheWriterFellBehind) {
    start();
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < 70; ++i) captureSecond(0.25F);
        writer().runAll();
    }
    EXPECT_TRUE(log().empty()) << "logged from a captures' queue, which must not wait for the disk";
    m_timers.runAll();
    EXPECT_EQ(log(), behindInTheLog);
    EXPECT_EQ(m_notices.told(), behindInWords);
}

TEST_F(RecorderWriting, PreviewTellsNothingAndWritesNothing) {
    m_onSleep = [this] { m_mics.deliverRaw({}, 0, false); };
    ASSERT_TRUE(startPreview());
    play({});
    m_log.clear();
    for (int i = 0; i < 70; ++i) captureSecond(0.25F);
    m_timers.runAll();
    EXPECT_TRUE(log().empty());
    EXPECT_TRUE(m_notices.told().empty());
    EXPECT_TRUE(m_recorder->bringToDisk(0ms));
    writer().runAll();
    EXPECT_TRUE(m_files.files.empty());
}

TEST_F(RecorderWriting, AllFilesAreBroughtToTheDiskAfterWhatIsQueued) {
    start();
    captureSecond(0.25F);
    EXPECT_FALSE(m_recorder->bringToDisk(0ms)) << "the writer has not even begun";
    captureSecond(0.25F);
    writer().runAll();
    for (const char* name : {"voice.m4a", "system.m4a", "mix.m4a"})
        EXPECT_EQ(file(name).onDisk, second) << name;
}

TEST_F(RecorderWriting, BeforeTheStartAndAfterTheStopThereIsNothingToBringToTheDisk) {
    EXPECT_TRUE(m_recorder->bringToDisk(0ms));
    EXPECT_TRUE(writer().idle());
    start();
    m_recorder->stop();
    m_journal.clear();
    m_recorder->bringToDisk(0ms);
    writer().runAll();
    EXPECT_TRUE(calls().empty());
}

// --- what is not saved

TEST_F(RecorderWriting, WhatWaitsToBeWrittenIsNotSaved) {
    EXPECT_EQ(m_recorder->unsaved(), Unsaved());
    start();
    EXPECT_EQ(m_recorder->unsaved(), (Unsaved{0, 3}));
    captureSecond(0.25F);
    captureSecond(0.25F);
    EXPECT_EQ(m_recorder->unsaved(), (Unsaved{2, 3}));
    writer().runAll();
    EXPECT_EQ(m_recorder->unsaved(), (Unsaved{0, 3}));
    m_recorder->stop();
    EXPECT_EQ(m_recorder->unsaved(), Unsaved());
}

TEST_F(RecorderWriting, WhatAFileHoldsBackIsNotSavedUntilItIsClosed) {
    m_files.framesNotStored = second / 2;
    start();
    captureSecond(0.25F);
    writer().runAll();
    EXPECT_EQ(m_recorder->unsaved(), (Unsaved{0.5, 3}));
    m_recorder->stop();
    EXPECT_EQ(m_recorder->unsaved(), Unsaved());
}

TEST_F(RecorderWriting, WhatHadToBeDroppedIsNotSavedUntilSilenceStandsInItsPlace) {
    start();
    for (int i = 0; i < 61; ++i) captureSecond(0.25F);
    EXPECT_EQ(m_recorder->unsaved(), (Unsaved{61, 3}));
    writer().runAll();
    EXPECT_EQ(m_recorder->unsaved(), (Unsaved{1, 3}));
    captureSecond(0.25F);
    writer().runAll();
    EXPECT_EQ(m_recorder->unsaved(), (Unsaved{0, 3}));
}

TEST_F(RecorderWriting, APreviewHasNothingToSave) {
    m_onSleep = [this] { m_mics.deliverRaw({}, 0, false); };
    ASSERT_TRUE(startPreview());
    captureSecond(0.25F);
    EXPECT_EQ(m_recorder->unsaved(), Unsaved());
}

/// With real queues.
class RecorderWritingOnThreads : public RecorderWriting {
  protected:
    RecorderWritingOnThreads() {
        RecorderServices real = services();
        real.makeQueue = [this](const std::string& label) {
            auto queue = std::make_unique<ThreadQueue>(label);
            if (label == "tapdeck.mic") m_micQueue = queue.get();
            if (label == "tapdeck.writer") m_writer = queue.get();
            return queue;
        };
        real.sleep = [this](std::chrono::milliseconds) { m_mics.deliver({0.1F}); };
        m_recorder = std::make_unique<Recorder>(real);
        startWithFiles();
        m_micQueue->sync([] {}); // from here on nothing is captured or written by itself
        m_writer->sync([] {});
    }
    ThreadQueue* m_micQueue = nullptr;
    ThreadQueue* m_writer = nullptr;
};

TEST_F(RecorderWritingOnThreads, AnswerSaysWhetherTheDiskConfirmed) {
    EXPECT_TRUE(m_recorder->bringToDisk(1min));
    m_files.disk = FakeAudioFiles::Disk::refuses;
    EXPECT_FALSE(m_recorder->bringToDisk(1min));
}

TEST_F(RecorderWritingOnThreads, FilesThatHaveEndedAreNotWaitedFor) {
    m_files.failWrites = true;
    EXPECT_TRUE(m_recorder->bringToDisk(1min));
}

TEST_F(RecorderWritingOnThreads, WaitForTheDiskEndsInTime) {
    m_files.disk = FakeAudioFiles::Disk::answersOnceClosed;
    EXPECT_FALSE(m_recorder->bringToDisk(1ms));
}

TEST_F(RecorderWritingOnThreads, WaitForAWriterThatIsStuckEndsInTime) {
    std::promise<void> diskGoesOn;
    m_writer->async([&] { diskGoesOn.get_future().wait(); });
    EXPECT_FALSE(m_recorder->bringToDisk(1ms));
    diskGoesOn.set_value();
    m_writer->sync([] {});
}

TEST_F(RecorderWritingOnThreads, WaitForTheDiskDoesNotHoldUpTheStop) {
    m_files.disk = FakeAudioFiles::Disk::answersOnceClosed;
    auto onDisk = std::async(std::launch::async, [this] { return m_recorder->bringToDisk(1min); });
    bool asked = false;
    while (!asked) m_writer->sync([&] { asked = file("mix.m4a").onDisk.has_value(); });
    m_recorder->stop();
    EXPECT_TRUE(onDisk.get());
}

} // namespace

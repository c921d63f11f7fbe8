// The recorder with real files on a disk that takes nothing in for a while.

#include "capture/recorder.h"

#include "base/recording_files.h"
#include "base/thread_queue.h"
#include "platform/media/aac_file_writer.h"
#include "platform/media/mp4_recovery.h"
#include "support/audio_signals.h"
#include "support/decoded_audio.h"
#include "support/fake_mic.h"
#include "support/fake_notices.h"
#include "support/fake_system_audio.h"
#include "support/file_journal.h"
#include "support/log_capture.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>

namespace {

constexpr std::size_t second = 48000;

/// Writes wait while the disk stalls.
class StallingDisk : public UnsyncedCalls {
  public:
    ssize_t pwrite(int file, const void* bytes, std::size_t count, off_t at) override {
        std::unique_lock lock(m_mutex);
        m_stuck = m_stalls;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return !m_stalls; });
        return FileCalls::pwrite(file, bytes, count, at);
    }
    void stall() { set(true); }
    void goOn() { set(false); }
    void untilStuck() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_stuck; });
    }

  private:
    void set(bool stalls) {
        const std::lock_guard lock(m_mutex);
        m_stalls = stalls;
        m_changed.notify_all();
    }
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_stalls = false;
    bool m_stuck = false;
};

class StalledDisk : public testing::Test {
  protected:
    StalledDisk()
        : m_recorder({m_mics, m_system, m_files, m_notices,
                      [this](const std::string& label) {
                          auto queue = std::make_unique<ThreadQueue>(label);
                          m_queues[label] = queue.get();
                          return queue;
                      },
                      m_timers, [this](std::chrono::milliseconds) { m_mics.deliverRaw({}, 0, true); }}) {}

    /// Faster than real time.
    void captureSecond(const std::vector<float>& mono) {
        m_mics.deliver(mono);
        m_system.deliver({{1, mono}});
        m_queues.at("tapdeck.mic")->sync([] {});
        m_queues.at("tapdeck.io")->sync([] {});
    }
    void untilWritten() {
        m_queues.at("tapdeck.writer")->sync([] {});
    }

    LogCapture m_log;
    TemporaryFolder m_folder;
    StallingDisk m_disk;
    CallJournal m_journal;
    FakeMics m_mics{m_journal};
    FakeSystemAudio m_system{m_journal};
    std::unique_ptr<AacFileWriterFactory> m_realFiles =
        std::make_unique<AacFileWriterFactory>(WriteTroubles::Notice(), m_disk);
    AacFileWriterFactory& m_files = *m_realFiles;
    FakeNotices m_notices;
    ThreadQueue m_timers{"timers"};
    std::map<std::string, ThreadQueue*> m_queues;
    Recorder m_recorder;
};

/// Where the loudest sample is: a click in silence.
std::size_t peak(std::span<const float> samples) {
    const auto louder = [](float a, float b) { return std::abs(a) < std::abs(b); };
    return static_cast<std::size_t>(std::max_element(samples.begin(), samples.end(), louder) -
                                    samples.begin());
}

TEST_F(StalledDisk, ForTwoMinutesCostsTheSecondOfThemAndLeavesTheFilesWholeAndInStep) {
    std::vector<float> click(second);
    std::fill_n(click.begin() + 24000, 24, 0.4F);
    const std::vector<float> quiet(second);
    ASSERT_TRUE(m_recorder.start({"mic", "Desk Mic"}, m_folder.path()));
    captureSecond(click);
    untilWritten();
    m_disk.stall();
    captureSecond(quiet); // ends a fragment
    m_disk.untilStuck();
    for (int i = 0; i < 120; ++i) captureSecond(i == 30 || i == 90 ? click : quiet);
    m_disk.goOn();
    untilWritten();
    captureSecond(click);
    m_recorder.stop();
    m_realFiles.reset(); // waits for the disk

    EXPECT_EQ(m_notices.told().size(), 1U);
    for (const char* name : {voiceFileName, systemFileName, mixFileName}) {
        const RecoveredFile found =
            Mp4Recovery().recoverFile(m_folder / name, RecordingRecovery::Mode::onlyLook);
        EXPECT_EQ(found.state, RecoveredFile::State::whole) << name;
        EXPECT_EQ(found.seconds, 123.0) << name;
        const std::vector<float> sound = decodeAll(m_folder / name).left;
        ASSERT_EQ(sound.size(), 123 * second) << name;
        for (const std::size_t at : {0U, 32U, 122U}) {
            const auto there = std::span(sound).subspan(at * second, second);
            EXPECT_NEAR(static_cast<double>(peak(there)), 24012, 48) << name << " at " << at;
            EXPECT_GT(std::abs(there[peak(there)]), 0.2F) << name << " at " << at;
        }
        const auto dropped = std::span(sound).subspan(92 * second, second);
        EXPECT_LT(std::abs(dropped[peak(dropped)]), 0.01F) << name;
    }
}

/// A program that ends while the disk hangs leaves what a copy of its files is at that moment.
TEST_F(StalledDisk, WhatIsNotSavedIsWhatARecoveryWouldNotFindAndComesWithTheDisk) {
    const std::vector<float> sound = noise(second);
    ASSERT_TRUE(m_recorder.start({"mic", "Desk Mic"}, m_folder.path()));
    for (int i = 0; i < 10; ++i) captureSecond(sound);
    untilWritten();
    m_disk.stall();
    for (int i = 0; i < 4; ++i) captureSecond(sound);
    m_disk.untilStuck();
    std::thread stop([this] { m_recorder.stop(); });
    const Unsaved unsaved = m_recorder.unsaved();
    EXPECT_EQ(unsaved.openFiles, 3);
    EXPECT_GE(unsaved.seconds, 4);
    EXPECT_LE(unsaved.seconds, 4.6) << "and the fragment that was open when the disk stalled";
    double least = 14;
    for (const char* name : {voiceFileName, systemFileName, mixFileName}) {
        writeFile(m_folder / "left.m4a", contentOf(m_folder / name));
        const RecoveredFile left =
            Mp4Recovery().recoverFile(m_folder / "left.m4a", RecordingRecovery::Mode::mend);
        EXPECT_EQ(left.state, RecoveredFile::State::mended) << name;
        least = std::min(least, left.seconds);
    }
    EXPECT_NEAR(14 - least, unsaved.seconds, 1e-6);

    m_disk.goOn();
    stop.join();
    EXPECT_EQ(m_recorder.unsaved(), Unsaved());
    m_realFiles.reset(); // waits for the disk
    for (const char* name : {voiceFileName, systemFileName, mixFileName}) {
        const RecoveredFile found =
            Mp4Recovery().recoverFile(m_folder / name, RecordingRecovery::Mode::onlyLook);
        EXPECT_EQ(found.state, RecoveredFile::State::whole) << name;
        EXPECT_EQ(found.seconds, 14.0) << name;
    }
}

} // namespace

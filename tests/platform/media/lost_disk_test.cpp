#include "base/error.h"
#include "base/thread_queue.h"
#include "platform/media/media_fixture.h"
#include "platform/media/mp4_recovery.h"
#include "support/failing_calls.h"
#include "support/fake_notices.h"
#include "support/file_journal.h"
#include "support/loop_disk.h"
#include "support/stalling_calls.h"

#include <cerrno>
#include <string>

namespace {

using State = RecoveredFile::State;
using Texts = std::vector<std::string>;

constexpr std::int64_t minute = 60;

/// A disk that is no longer what it was when the recording began; what is said to the user and to the log.
class LostDiskTest : public MediaTest {
  protected:
    std::unique_ptr<AudioFileWriter> create(const std::filesystem::path& path, FileCalls& calls) {
        return AacFileWriterFactory([this](const std::string& sentence) { notices.tell(sentence); }, calls)
            .create(path, {});
    }

    /// Records some seconds; false when the file ended within them.
    bool write(AudioFileWriter& writer, std::int64_t seconds) {
        try {
            for (std::int64_t i = 0; i < seconds; ++i) writer.write(m_second, m_second);
            return true;
        } catch (const Error&) {
            return false;
        }
    }

    State recover() { return Mp4Recovery().recoverFile(file, RecordingRecovery::Mode::mend).state; }

    const std::filesystem::path file = folder / "voice.m4a";
    FakeNotices notices;

  private:
    const std::vector<float> m_second = std::vector<float>(48000);
};

TEST_F(LostDiskTest, QuotaThatIsUsedUpClosesTheFile) {
    FailingCalls calls;
    auto writer = create(file, calls);
    EXPECT_TRUE(write(*writer, 3));
    calls.fail("pwrite", 0, EDQUOT, false);
    EXPECT_FALSE(write(*writer, 1));
    writer.reset();
    EXPECT_EQ(log.messages(),
              Texts{"[rec] voice.m4a ends at 00:02: Error Domain=posix Code=122 \"Disk quota exceeded\""});
    EXPECT_EQ(notices.told(), Texts{"Your share of the disk is used up. The recording ends at 00:02, and "
                                    "everything up to there is saved."});
    EXPECT_EQ(decodedLengthOf(file).frames, framesOfFragments(6));
    EXPECT_EQ(recover(), State::whole);
}

TEST_F(LostDiskTest, DiskThatBecomesReadOnlyEndsTheFileWhenAMinuteWaits) {
    FailingCalls calls;
    auto writer = create(file, calls);
    EXPECT_TRUE(write(*writer, 3));
    calls.fail("pwrite", 0, EROFS, true);
    EXPECT_FALSE(write(*writer, 2 * minute));
    writer.reset();
    EXPECT_EQ(
        log.messages(),
        (Texts{"[rec] writing voice.m4a failed, trying again twice a second: Error Domain=posix Code=30 "
               "\"Read-only file system\"",
               "[rec] voice.m4a ends at 00:02: Error Domain=posix Code=30 \"Read-only file system\"",
               "[rec] closing voice.m4a failed: Error Domain=posix Code=30 \"Read-only file system\""}));
    EXPECT_EQ(notices.told(), Texts{"The disk does not take the recording (Read-only file system). The "
                                    "recording ends at 00:02, and everything up to there is saved."});
    EXPECT_EQ(decodedLengthOf(file).frames, framesOfFragments(6));
    EXPECT_EQ(recover(), State::mended);
}

TEST_F(LostDiskTest, DeletedFolderIsToldOnceAndTheRecordingEndsInOrder) {
    UnsyncedCalls calls;
    const std::filesystem::path recording = folder / "recording";
    std::filesystem::create_directory(recording);
    auto voice = create(recording / "voice.m4a", calls);
    EXPECT_TRUE(write(*voice, 2));
    std::filesystem::remove_all(recording);
    EXPECT_TRUE(write(*voice, 2));
    notices.waitForFirst();
    EXPECT_TRUE(write(*voice, 2 * minute));
    voice.reset();
    EXPECT_EQ(log.messages(), Texts{"[rec] voice.m4a was deleted while it was recorded"});
    EXPECT_EQ(
        notices.told(),
        Texts{"voice.m4a was deleted while it was being recorded. Stop and start again to lose no more."});
    EXPECT_FALSE(std::filesystem::exists(recording));
}

TEST_F(LostDiskTest, FileThatIsMovedAsideIsNotDeleted) {
    auto writer = create(file, systemFileCalls());
    EXPECT_TRUE(write(*writer, 2));
    std::filesystem::rename(file, folder / "moved.m4a");
    EXPECT_TRUE(write(*writer, 2));
    writer.reset();
    EXPECT_EQ(decodedLengthOf(folder / "moved.m4a").frames, 4 * 48000);
    EXPECT_TRUE(notices.told().empty());
}

TEST_F(LostDiskTest, DiskThatStallsForTwoMinutesHoldsNeitherTheWritingNorTheClosingUp) {
    StallingCalls calls;
    AacFileWriterFactory factory([this](const std::string& sentence) { notices.tell(sentence); }, calls);
    auto writer = factory.create(file, {});
    calls.stall(StallingCalls::What::syncs);
    EXPECT_TRUE(write(*writer, 2 * minute));
    writer.reset();
    EXPECT_EQ(decodedLengthOf(file).frames, 2 * minute * 48000);
    EXPECT_EQ(recover(), State::inUse);
    EXPECT_EQ(log.messages(), Texts{"[rec] voice.m4a may not be on the disk: Error Domain=posix Code=110 "
                                    "\"Connection timed out\""});
    EXPECT_EQ(notices.told(),
              Texts{"The disk has not answered for half a minute. The recording goes on, but a "
                    "power cut would take this part of it."});
    calls.goOn();
}

TEST_F(LostDiskTest, WriteThatStallsLosesNothingOfWhatWaitsForIt) {
    StallingCalls calls;
    auto writer = create(file, calls);
    ThreadQueue queue("writer");
    calls.stall(StallingCalls::What::writesAndSyncs);
    for (int i = 0; i < 2 * minute; ++i) queue.async([&] { EXPECT_TRUE(write(*writer, 1)); });
    calls.waitUntilStuck();
    EXPECT_EQ(decodedLengthOf(file).frames, 0) << "readable meanwhile";
    calls.goOn();
    queue.sync([&] { writer.reset(); });
    EXPECT_EQ(decodedLengthOf(file).frames, 2 * minute * 48000);
    EXPECT_TRUE(notices.told().empty());
}

TEST_F(LostDiskTest, EndOfTheRecordingIsToldThoughTheUserWasWarnedBefore) {
    FailingCalls calls;
    auto writer = create(file, calls);
    calls.fail("fdatasync", 0, EIO, true);
    EXPECT_TRUE(write(*writer, 3));
    notices.waitForFirst();
    calls.fail("pwrite", 0, ENOSPC, false);
    EXPECT_FALSE(write(*writer, 1));
    EXPECT_EQ(notices.told(),
              (Texts{"The disk does not confirm what is recorded: Input/output error.",
                     "The disk is full. The recording ends at 00:02, and everything up to there is saved."}));
}

/// The same with a disk that the kernel itself gives up.
class RealLostDiskTest : public LostDiskTest {
  protected:
    void SetUp() override {
        if (!disk.mounted()) GTEST_SKIP() << "no image can be mounted here: that takes root and loop devices";
    }

    /// Three seconds, all on the disk.
    std::unique_ptr<AudioFileWriter> begin() {
        auto writer = create(voice, systemFileCalls());
        EXPECT_TRUE(write(*writer, 3));
        EXPECT_TRUE(writer->bringToDisk().get());
        m_stored = decodedLengthOf(voice).frames;
        return writer;
    }

    LoopDisk disk{folder / "disk.image", folder / "disk"};
    const std::filesystem::path voice = disk / "voice.m4a";
    std::int64_t m_stored = 0; // samples
};

TEST_F(RealLostDiskTest, DiskThatTheKernelMakesReadOnlyKeepsWhatWasStored) {
    auto writer = begin();
    if (!disk.makeReadOnly()) GTEST_SKIP() << "this kernel can't be asked to";
    EXPECT_FALSE(write(*writer, 2 * minute));
    writer.reset();
    EXPECT_EQ(notices.told().back(),
              "The disk does not take the recording (Read-only file system). The recording "
              "ends at 00:02, and everything up to there is saved.");
    EXPECT_EQ(decodedLengthOf(voice).frames, m_stored);
    ASSERT_TRUE(disk.mountAgain());
    EXPECT_EQ(Mp4Recovery().recoverFile(voice, RecordingRecovery::Mode::mend).state, State::mended);
    EXPECT_EQ(decodedLengthOf(voice).frames, m_stored);
}

TEST_F(RealLostDiskTest, DiskThatIsPulledOutKeepsWhatWasStored) {
    auto writer = begin();
    if (!disk.pullOut()) GTEST_SKIP() << "this kernel can't be asked to";
    EXPECT_FALSE(write(*writer, 2 * minute));
    writer.reset();
    EXPECT_EQ(notices.told().back(),
              "The disk does not take the recording (Input/output error). The recording ends "
              "at 00:02, and everything up to there is saved.");
    ASSERT_TRUE(disk.mountAgain());
    EXPECT_EQ(Mp4Recovery().recoverFile(voice, RecordingRecovery::Mode::mend).state, State::mended);
    EXPECT_EQ(decodedLengthOf(voice).frames, m_stored);
}

} // namespace

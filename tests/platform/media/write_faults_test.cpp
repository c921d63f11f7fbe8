#include "base/error.h"
#include "platform/media/media_fixture.h"
#include "platform/media/mp4_recovery.h"
#include "support/failing_calls.h"
#include "support/fake_notices.h"
#include "support/file_journal.h"

#include <cerrno>
#include <string>

namespace {

using State = RecoveredFile::State;

constexpr std::int64_t seconds = 4;

class WriteFaultsTest : public MediaTest {
  protected:
    /// Records some seconds and closes. False when the file could not even be made.
    bool record(FileCalls& calls) {
        AacFileWriterFactory factory([this](const std::string& sentence) { notices.tell(sentence); }, calls);
        try {
            const auto writer = factory.create(file, {});
            for (int i = 0; i < seconds; ++i) {
                try {
                    writer->write(second, second);
                } catch (const Error&) { // as the recorder does
                }
            }
        } catch (const Error&) {
            return false;
        }
        return true;
    }

    static std::ptrdiff_t openDescriptors() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }

    const std::filesystem::path file = folder / "voice.m4a";
    const std::vector<float> second = std::vector<float>(48000);
    FakeNotices notices;
};

TEST_F(WriteFaultsTest, AnyCallMayFailOnceOrForEverAndTheFileHoldsWhatWasStoredBefore) {
    for (const std::string call :
         {"open", "flock", "pwrite", "fallocate", "ftruncate", "fdatasync", "fsync", "fstatvfs"})
        for (const int error : {EIO, ENOSPC, EDQUOT, EROFS, EOPNOTSUPP})
            for (const bool forEver : {false, true})
                for (int after = 0;; ++after) {
                    const std::string what = call + " " + std::to_string(after) + " " +
                                             std::to_string(error) + (forEver ? " on" : "");
                    std::filesystem::remove(file);
                    const std::ptrdiff_t descriptors = openDescriptors();
                    FailingCalls calls;
                    calls.fail(call, after, error, forEver);
                    SCOPED_TRACE(what);
                    const bool made = record(calls);
                    ASSERT_EQ(openDescriptors(), descriptors) << what;
                    if (!made) {
                        ASSERT_FALSE(std::filesystem::exists(file)) << what;
                    } else {
                        const std::int64_t stored =
                            std::max<std::int64_t>(framesOfFragments(calls.fragments()), 0);
                        ASSERT_GE(decodedLengthOf(file).frames,
                                  std::min<std::int64_t>(stored, 48000 * seconds))
                            << what;
                        const RecoveredFile recovered =
                            Mp4Recovery().recoverFile(file, RecordingRecovery::Mode::mend);
                        ASSERT_TRUE(recovered.state == State::whole || recovered.state == State::mended)
                            << what;
                    }
                    if (!calls.hasFailed()) break;
                }
}

TEST_F(WriteFaultsTest, AnyCallOfTheRecoveryMayFailAndItCanBeDoneAgain) {
    FileJournal journal;
    ASSERT_TRUE(record(journal));
    const std::string content = journal.content(2 * seconds); // head and the fragments before the last
    for (const std::string call :
         {"open", "flock", "pread", "pwrite", "ftruncate", "fsync", "fstat", "futimens"})
        for (int after = 0;; ++after) {
            writeFile(file, content);
            FailingCalls calls;
            calls.fail(call, after, EIO, true);
            const RecoveredFile first = Mp4Recovery(calls).recoverFile(file, RecordingRecovery::Mode::mend);
            ASSERT_TRUE(first.state == State::mended || first.reason == "Input/output error")
                << call << after;
            const RecoveredFile again = Mp4Recovery().recoverFile(file, RecordingRecovery::Mode::mend);
            ASSERT_TRUE(again.state == State::mended || again.state == State::whole) << call << after;
            ASSERT_EQ(again.seconds, framesOfFragments(2 * seconds - 1) / 48000.0) << call << after;
            if (!calls.hasFailed()) break;
        }
}

TEST_F(WriteFaultsTest, DiskThatFailsForAMomentCostsNothing) {
    FailingCalls calls;
    calls.fail("pwrite", 2, EIO, false);
    ASSERT_TRUE(record(calls));
    EXPECT_EQ(decodedLengthOf(file).frames, 48000 * seconds);
    EXPECT_EQ(log.messages(),
              std::vector<std::string>{"[rec] writing voice.m4a failed, trying again twice a second: "
                                       "Error Domain=posix Code=5 \"Input/output error\""});
    EXPECT_TRUE(notices.told().empty());
}

TEST_F(WriteFaultsTest, DiskThatFailsForAMinuteEndsTheFileAndTheUserIsTold) {
    FailingCalls calls;
    AacFileWriterFactory factory([this](const std::string& sentence) { notices.tell(sentence); }, calls);
    const auto writer = factory.create(file, {});
    for (int i = 0; i < 3; ++i) writer->write(second, second);
    calls.fail("pwrite", 0, EIO, true);
    int taken = 0;
    EXPECT_THROW(
        while (taken < 100) {
            writer->write(second, second);
            ++taken;
        },
        Error);
    EXPECT_GE(taken, 58);
    EXPECT_LE(taken, 61);
    EXPECT_EQ(notices.told(),
              std::vector<std::string>{"The disk does not take the recording (Input/output error). The "
                                       "recording ends at 00:02, and everything up to there is saved."});
    EXPECT_EQ(decodedLengthOf(file).frames, framesOfFragments(6));
}

TEST_F(WriteFaultsTest, DiskThatDoesNotConfirmIsToldOnceAndTheRecordingGoesOn) {
    FailingCalls calls;
    calls.fail("fdatasync", 0, EIO, true);
    {
        AacFileWriterFactory factory([this](const std::string& sentence) { notices.tell(sentence); }, calls);
        const auto writer = factory.create(file, {});
        for (int i = 0; i < 2; ++i) writer->write(second, second);
        notices.waitForFirst(); // else the end could come first, which makes one request of all
        for (int i = 2; i < seconds; ++i) writer->write(second, second);
    }
    EXPECT_EQ(decodedLengthOf(file).frames, 48000 * seconds);
    EXPECT_EQ(log.messages(),
              std::vector<std::string>{"[rec] voice.m4a may not be on the disk: Error Domain=posix "
                                       "Code=5 \"Input/output error\""});
    EXPECT_EQ(notices.told(),
              std::vector<std::string>{"The disk does not confirm what is recorded: Input/output error."});
}

TEST_F(WriteFaultsTest, ClosingThatFailsIsTold) {
    FailingCalls calls;
    {
        AacFileWriterFactory factory([this](const std::string& sentence) { notices.tell(sentence); }, calls);
        const auto writer = factory.create(file, {});
        writer->write(second, second);
        writer->write(std::span(second).first(24000), std::span(second).first(24000));
        calls.fail("pwrite", 0, EIO, true);
    }
    EXPECT_EQ(log.messages(),
              std::vector<std::string>{"[rec] closing voice.m4a failed: Error Domain=posix Code=5 "
                                       "\"Input/output error\""});
    EXPECT_EQ(notices.told(),
              std::vector<std::string>{"The end of the recording could not be written: Input/output error."});
}

/// Where room cannot be kept, and where every call is interrupted or does only a part of its work.
class AwkwardCalls : public UnsyncedCalls {
  public:
    int open(const char* path, int flags, mode_t mode) override {
        return interrupted() ? -1 : FileCalls::open(path, flags, mode);
    }
    int flock(int file, int operation) override {
        return interrupted() ? -1 : FileCalls::flock(file, operation);
    }
    ssize_t pread(int file, void* bytes, std::size_t count, off_t at) override {
        return interrupted() ? -1 : FileCalls::pread(file, bytes, std::min<std::size_t>(count, 7), at);
    }
    ssize_t pwrite(int file, const void* bytes, std::size_t count, off_t at) override {
        return interrupted() ? -1 : FileCalls::pwrite(file, bytes, std::min<std::size_t>(count, 100), at);
    }
    int fallocate(int, int, off_t, off_t) override {
        errno = EOPNOTSUPP;
        return -1;
    }
    int ftruncate(int file, off_t size) override {
        return interrupted() ? -1 : FileCalls::ftruncate(file, size);
    }

  private:
    bool interrupted() {
        errno = EINTR;
        return ++m_calls % 2 == 1;
    }
    int m_calls = 0;
};

TEST_F(WriteFaultsTest, InterruptionsAndShortWritesMakeNoDifference) {
    UnsyncedCalls plain;
    ASSERT_TRUE(record(plain));
    const std::string expected = contentOf(file);
    std::filesystem::remove(file);
    AwkwardCalls awkward;
    ASSERT_TRUE(record(awkward));
    EXPECT_TRUE(contentOf(file) == expected);
    EXPECT_EQ(Mp4Recovery(awkward).recoverFile(file, RecordingRecovery::Mode::mend).state, State::whole);
    EXPECT_TRUE(log.messages().empty());
}

class NearlyFullCalls : public AwkwardCalls {
  public:
    int fstatvfs(int, struct statvfs* facts) override {
        *facts = {};
        facts->f_frsize = 1;
        facts->f_bavail = free;
        return 0;
    }
    fsblkcnt_t free = 100000000;
};

TEST_F(WriteFaultsTest, WhereNoRoomCanBeKeptTheFreeSpaceDecides) {
    NearlyFullCalls calls;
    {
        const auto factory = std::make_unique<AacFileWriterFactory>(
            [this](const std::string& sentence) { notices.tell(sentence); }, calls);
        const auto writer = factory->create(file, {});
        writer->write(second, second);
        calls.free = 1000000;
        EXPECT_THROW(writer->write(second, second), Error);
    }
    EXPECT_EQ(decodedLengthOf(file).frames, framesOfFragments(2));
    EXPECT_EQ(notices.told().size(), 1U);
    calls.free = 1000000;
    std::filesystem::remove(file);
    EXPECT_FALSE(record(calls));
}

} // namespace

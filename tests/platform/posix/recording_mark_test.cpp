#include "platform/posix/recording_mark.h"

#include "support/environment.h"
#include "support/temporary_folder.h"

#include <array>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

class RecordingMarkTest : public testing::Test {
  protected:
    TemporaryFolder folder;
    const std::filesystem::path file = folder / "recording.lock";
    RecordingMark mark{file};
};

TEST_F(RecordingMarkTest, IsHeldWhileARecordingRuns) {
    EXPECT_FALSE(mark.isHeld());
    auto first = mark.hold();
    auto second = mark.hold();
    EXPECT_TRUE(mark.isHeld());
    first.reset();
    EXPECT_TRUE(mark.isHeld());
    second.reset();
    EXPECT_FALSE(mark.isHeld());
}

TEST_F(RecordingMarkTest, AnotherMarkOnTheSameFileSeesIt) {
    const RecordingMark other(file);
    auto held = mark.hold();
    EXPECT_TRUE(other.isHeld());
    held.reset();
    EXPECT_FALSE(other.isHeld());
}

TEST_F(RecordingMarkTest, ARecordingOfAnotherProcessIsSeenUntilThatProcessIsKilled) {
    std::array<int, 2> begun{};
    ASSERT_EQ(::pipe(begun.data()), 0);
    const pid_t child = fork();
    if (child == 0) {
        const auto held = mark.hold();
        const char byte = 0;
        if (::write(begun[1], &byte, 1) == 1) pause();
        _exit(1);
    }
    char byte = 1;
    ASSERT_EQ(::read(begun[0], &byte, 1), 1);
    EXPECT_TRUE(mark.isHeld());
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_FALSE(mark.isHeld());
    for (const int end : begun) close(end);
}

TEST_F(RecordingMarkTest, AskingMakesNoFileAndHoldingMakesAPrivateOne) {
    EXPECT_FALSE(mark.isHeld());
    EXPECT_FALSE(std::filesystem::exists(file));
    mark.hold();
    struct stat facts{};
    ASSERT_EQ(::stat(file.c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777U, 0600U);
}

TEST_F(RecordingMarkTest, WithoutAUsableFileTheRecordingsOfThisProcessAreKnown) {
    for (const std::filesystem::path& unusable : {std::filesystem::path(), folder / "no" / "such"}) {
        RecordingMark alone(unusable);
        EXPECT_FALSE(alone.isHeld());
        const auto held = alone.hold();
        EXPECT_TRUE(alone.isHeld());
    }
}

TEST(RecordingMarkFile, IsInTheFolderOfTheSession) {
    {
        const ScopedEnvironment runtime("XDG_RUNTIME_DIR", "/run/user/1000");
        EXPECT_EQ(RecordingMark::usualFile(), "/run/user/1000/murmelo-recording.lock");
    }
    const ScopedEnvironment none("XDG_RUNTIME_DIR", std::nullopt);
    EXPECT_EQ(RecordingMark::usualFile(), "");
}

} // namespace

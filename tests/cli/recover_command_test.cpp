#include "cli/recover_command.h"

#include "support/command_run.h"
#include "support/environment.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using State = RecoveredFile::State;

class FakeRecovery : public RecordingRecovery {
  public:
    std::vector<RecoveredFile> recover(const std::filesystem::path& folder, Mode mode) override {
        asked.emplace_back(folder, mode);
        return files;
    }

    std::vector<RecoveredFile> files;
    std::vector<std::pair<std::filesystem::path, Mode>> asked;
};

class RecoverCommandTest : public testing::Test {
  protected:
    ExitStatus run(std::vector<std::string> words) {
        words.insert(words.begin(), "recover");
        const CommandRun done = runCommand(
            std::move(words), [&](int argc, char** argv) { return recoverCommand(argc, argv, recovery); });
        output = done.output;
        errors = done.errors;
        return done.status;
    }

    TemporaryFolder folder;
    FakeRecovery recovery;
    std::string output;
    std::string errors;
};

TEST_F(RecoverCommandTest, SaysWhatBecameOfEachFileAndHowLongItIs) {
    recovery.files = {{"/r/voice.m4a", State::mended, 754.9},
                      {"/r/system.m4a", State::whole, 6000},
                      {"/r/mix.m4a", State::inUse},
                      {"/s/voice.m4a", State::foreign, 0, "It is empty."}};
    EXPECT_EQ(run({folder.path()}), ExitStatus::done);
    EXPECT_EQ(output, "mended      12:34  /r/voice.m4a\n"
                      "whole      100:00  /r/system.m4a\n"
                      "in use             /r/mix.m4a\n"
                      "foreign            /s/voice.m4a  It is empty.\n");
    EXPECT_EQ(errors, "");
}

TEST_F(RecoverCommandTest, JsonIsForScripts) {
    recovery.files = {{"/r/voice.m4a", State::mended, 754.5},
                      {"/r/mix.m4a", State::foreign, 0, "It is empty."}};
    EXPECT_EQ(run({"--json", folder.path()}), ExitStatus::done);
    EXPECT_EQ(output, R"([
  {
    "path": "/r/voice.m4a",
    "state": "mended",
    "seconds": 754.5
  },
  {
    "path": "/r/mix.m4a",
    "state": "foreign",
    "reason": "It is empty."
  }
]
)");
}

TEST_F(RecoverCommandTest, FileThatCouldNotBeMendedIsAFailure) {
    recovery.files = {{"/r/voice.m4a", State::failed, 0, "Permission denied"}};
    EXPECT_EQ(run({folder.path()}), ExitStatus::failed);
    EXPECT_EQ(output, "failed             /r/voice.m4a  Permission denied\n");
    EXPECT_EQ(errors, "One file could not be mended.\n");
    EXPECT_EQ(run({folder.path(), folder.path()}), ExitStatus::failed);
    EXPECT_EQ(errors, "2 files could not be mended.\n");
}

TEST_F(RecoverCommandTest, WithoutANameItIsTheFolderOfRecordingsWhichIsNotMade) {
    const ScopedEnvironment home("HOME", folder.path());
    const ScopedEnvironment config("XDG_CONFIG_HOME", std::nullopt);
    EXPECT_EQ(run({}), ExitStatus::done);
    EXPECT_EQ(output, "");
    ASSERT_EQ(recovery.asked.size(), 1U);
    EXPECT_EQ(recovery.asked[0], std::pair(folder / "Murmelo", RecordingRecovery::Mode::mend));
    EXPECT_FALSE(std::filesystem::exists(folder / "Murmelo"));
}

TEST_F(RecoverCommandTest, DryRunOnlyLooks) {
    EXPECT_EQ(run({"--dry-run", folder.path()}), ExitStatus::done);
    EXPECT_EQ(recovery.asked[0], std::pair(folder.path(), RecordingRecovery::Mode::onlyLook));
}

TEST_F(RecoverCommandTest, NothingIsTouchedWhenOneOfTheFoldersIsMissing) {
    EXPECT_EQ(run({folder.path(), "/no/such/folder"}), ExitStatus::failed);
    EXPECT_EQ(errors, "There is no folder “/no/such/folder”.\n");
    EXPECT_TRUE(recovery.asked.empty());
}

TEST_F(RecoverCommandTest, UnknownOptionIsWrongUsage) {
    EXPECT_EQ(run({"--all"}), ExitStatus::usage);
    EXPECT_TRUE(recovery.asked.empty());
}

} // namespace

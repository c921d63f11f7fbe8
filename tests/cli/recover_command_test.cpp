#include "cli/recover_command.h"

#include "support/command_run.h"
#include "support/environment.h"
#include "support/temporary_folder.h"
#include "support/with_umask.h"

#include <cstdlib>
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
    "seconds": 754.5,
    "readableByOthers": false
  },
  {
    "path": "/r/mix.m4a",
    "state": "foreign",
    "reason": "It is empty.",
    "readableByOthers": false
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

TEST_F(RecoverCommandTest, FolderThatCannotBeReadIsAFailureOfItsOwn) {
    recovery.files = {{folder.path(), State::failed, 0, "Permission denied"},
                      {"/r/voice.m4a", State::failed, 0, "Permission denied"}};
    EXPECT_EQ(run({folder.path()}), ExitStatus::failed);
    EXPECT_EQ(errors, "One folder could not be read. One file could not be mended.\n");
}

class ReadableRecordings : public RecoverCommandTest {
  protected:
    /// A recording as earlier versions made it, or with other permissions.
    std::filesystem::path recording(const std::string& name, int folderMode = 0755, int fileMode = 0644) {
        std::filesystem::path place = folder / name;
        std::filesystem::create_directories(place);
        for (const char* file : {"voice.m4a", "system.m4a", "mix.m4a"}) {
            add(place / file, fileMode);
            recovery.files.push_back({place / file, State::whole, 60});
        }
        std::filesystem::permissions(place, std::filesystem::perms(folderMode));
        return place;
    }
    void add(const std::filesystem::path& file, int mode) {
        writeFile(file, "sound");
        std::filesystem::permissions(file, std::filesystem::perms(mode));
    }
    std::string notice() {
        EXPECT_EQ(run({folder.path()}), ExitStatus::done);
        return errors;
    }
    std::string inFolder(const std::string& name) { return "'" + (folder / name).string() + "'"; }
};

TEST_F(ReadableRecordings, AreCountedAndTheCommandNamesThemAll) {
    recording("recording-2026-01-02-030405");
    recording("recording-2026-01-02-030406");
    recording("Mother's call", 0750, 0640);
    EXPECT_EQ(notice(), "3 recordings can be read by other users; to change that: chmod -R go= '" +
                            folder.path().string() + "'/recording-* '" + (folder / "Mother").string() +
                            "'\\''s call'\n");
}

TEST_F(ReadableRecordings, TheCommandOfTheNoticeMakesThemPrivate) {
    const std::filesystem::path first = recording("recording-2026-01-02-030405");
    recording("recording-2026-01-02-030406");
    recording("Mother's call");
    const std::string said = notice();
    ASSERT_EQ(std::system(said.substr(said.find("chmod")).c_str()), 0);
    EXPECT_EQ(modeOf(first), 0700U);
    EXPECT_EQ(modeOf(first / "voice.m4a"), 0600U);
    EXPECT_EQ(notice(), "");
}

TEST_F(ReadableRecordings, ASingleOneIsNamed) {
    recording("recording-2026-01-02-030405");
    recording("recording-2026-01-02-030406", 0700, 0600);
    EXPECT_EQ(notice(), "One recording can be read by other users; to change that: chmod -R go= " +
                            inFolder("recording-2026-01-02-030405") + "\n");
}

TEST_F(ReadableRecordings, AFolderThatOnlyItsOwnerMayEnterProtectsItsFiles) {
    recording("a", 0700, 0644);
    recording("b", 0755, 0600);
    recording("c", 0710, 0604);
    EXPECT_EQ(notice(), "");
}

TEST_F(ReadableRecordings, ATranscriptIsPartOfTheRecording) {
    add(recording("a", 0755, 0600) / "transcript.txt", 0644);
    EXPECT_EQ(notice(), "One recording can be read by other users; to change that: chmod -R go= " +
                            inFolder("a") + "\n");
}

TEST_F(ReadableRecordings, AreAFieldOfEachFileForScriptsAndNoSentence) {
    recording("a");
    EXPECT_EQ(run({"--json", folder.path()}), ExitStatus::done);
    EXPECT_NE(output.find("\"readableByOthers\": true"), std::string::npos);
    EXPECT_EQ(output.find("\"readableByOthers\": false"), std::string::npos);
    EXPECT_EQ(errors, "");
}

TEST_F(ReadableRecordings, FilesOfOthersAreNotCounted) {
    recording("a");
    for (RecoveredFile& file : recovery.files) file.state = State::foreign;
    EXPECT_EQ(notice(), "");
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

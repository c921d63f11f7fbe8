#include "platform/media/mp4_recovery.h"

#include "platform/media/media_fixture.h"
#include "platform/media/mp4_boxes.h"
#include "platform/media/recorded_length.h"
#include "support/file_journal.h"
#include "support/ordinary_user.h"
#include "support/with_umask.h"

#include <chrono>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>

namespace {

using State = RecoveredFile::State;
using Mode = RecordingRecovery::Mode;

constexpr double fragmentSeconds = packetsInFragment * 1024 / 48000.0; ///< what a fragment holds

/// Recordings of 1.25 s, hence of two fragments of half a second and a last one, in every state that a crash
/// can leave.
class Mp4RecoveryTest : public MediaTest {
  protected:
    Mp4RecoveryTest() {
        AacFileWriterFactory factory({}, journal);
        const auto writer = factory.create(folder / "whole.m4a", {});
        stepsUntilBegun = journal.steps();
        // Every byte of the file is looked at, and a packet of silence takes few.
        for (int i = 0; i < 125; ++i) writer->write(quiet, quiet);
        stepsUntilClosing = journal.steps();
    }

    /// Recovers a file with that content. Whatever it was, doing it again changes nothing, and the file holds
    /// what was said.
    RecoveredFile recovered(const std::string& content) {
        writeFile(damaged, content);
        RecoveredFile result = recovery.recoverFile(damaged, Mode::mend);
        const std::string after = contentOf(damaged);
        if (result.state == State::mended || result.state == State::whole) {
            EXPECT_EQ(decodedLengthOf(damaged).frames, frames(result));
            EXPECT_EQ(recordedLength(damaged).value().frames, frames(result));
            EXPECT_EQ(recovery.recoverFile(damaged, Mode::mend).state, State::whole);
        } else {
            EXPECT_EQ(after, content) << "changed although " << result.reason;
        }
        EXPECT_EQ(contentOf(damaged), after);
        return result;
    }

    /// How many can be read of a file with that content.
    std::int64_t framesIn(const std::string& content) const {
        writeFile(damaged, content);
        const std::int64_t decoded = decodedLengthOf(damaged).frames;
        if (const auto recorded = recordedLength(damaged)) {
            EXPECT_EQ(recorded->frames, decoded);
        }
        return decoded;
    }

    static std::int64_t frames(const RecoveredFile& file) { return std::llround(file.seconds * 48000); }

    const std::vector<float> quiet = std::vector<float>(480);
    FileJournal journal;
    std::size_t stepsUntilBegun = 0;
    std::size_t stepsUntilClosing = 0;
    UnsyncedCalls unsynced;
    Mp4Recovery recovery{unsynced};
    const std::filesystem::path damaged = folder / "voice.m4a";
};

TEST_F(Mp4RecoveryTest, ClosedFileIsWholeAndNotTouched) {
    const std::string content = journal.content(journal.steps());
    EXPECT_EQ(content, contentOf(folder / "whole.m4a"));
    const RecoveredFile result = recovered(content);
    EXPECT_EQ(result.state, State::whole);
    EXPECT_EQ(result.seconds, 1.25);
    EXPECT_EQ(contentOf(damaged), content);
}

TEST_F(Mp4RecoveryTest, FileCutAtAnyByteWhileRecordingKeepsItsWholeFragments) {
    const std::string recording = journal.content(stepsUntilClosing);
    const std::size_t head = journal.content(stepsUntilBegun).size();
    const std::size_t first = head + journal.bytesOf(stepsUntilBegun);
    for (std::size_t size = head; size <= recording.size(); ++size) {
        const RecoveredFile result = recovered(recording.substr(0, size));
        ASSERT_EQ(result.state, State::mended) << size;
        const double kept = size < first              ? 0
                            : size < recording.size() ? fragmentSeconds
                                                      : 2 * fragmentSeconds;
        ASSERT_EQ(frames(result), std::max<std::int64_t>(std::llround(kept * 48000) - 1024, 0)) << size;
    }
}

TEST_F(Mp4RecoveryTest, FileCutAtAnyByteOfItsSoundCanAlsoBeReadAsItIs) {
    std::string recording = journal.content(stepsUntilBegun);
    for (std::size_t step = stepsUntilBegun; step < stepsUntilClosing; ++step) {
        const std::int64_t before = framesIn(recording);
        EXPECT_EQ(before, step == stepsUntilBegun ? 0 : framesOfFragments(1));
        for (std::size_t bytes = fragmentHeadSize(packetsInFragment); bytes <= journal.bytesOf(step); ++bytes)
            ASSERT_GE(framesIn(journal.content(step, bytes)), before) << bytes;
        recording = journal.content(step + 1);
    }
}

TEST_F(Mp4RecoveryTest, ClosingTornAtAnyByteOfAnyWriteLosesAtMostTheLastFragment) {
    for (std::size_t step = stepsUntilClosing; step < journal.steps(); ++step) {
        for (std::size_t bytes = 0; bytes <= journal.bytesOf(step); ++bytes) {
            const RecoveredFile result = recovered(journal.content(step, bytes));
            ASSERT_TRUE(result.state == State::mended || result.state == State::whole)
                << step << " " << bytes;
            ASSERT_GE(frames(result), framesOfFragments(2)) << step << " " << bytes;
            // Before the index is there, the last packet counts in whole.
            ASSERT_LE(frames(result), 60000 + 1023) << step << " " << bytes;
        }
    }
}

TEST_F(Mp4RecoveryTest, IndexTornAtAnyByteLeavesAFileThatCanBeReadAsItIs) {
    // The last step is left out: its 16 bytes are within one sector, there it is before or after.
    for (std::size_t step = stepsUntilClosing + 1; step + 1 < journal.steps(); ++step)
        for (std::size_t bytes = 0; bytes <= journal.bytesOf(step); ++bytes)
            ASSERT_GT(framesIn(journal.content(step, bytes)), 60000) << bytes;
}

TEST_F(Mp4RecoveryTest, WholeIndexWithAnOpenHoleIsBelievedToTheSample) {
    const RecoveredFile result = recovered(journal.content(journal.steps() - 1));
    EXPECT_EQ(result.state, State::mended);
    EXPECT_EQ(frames(result), 60000);
    EXPECT_EQ(contentOf(damaged), contentOf(folder / "whole.m4a"));
}

TEST_F(Mp4RecoveryTest, ClosedHoleWithoutAWholeIndexIsMended) {
    const std::string closed = journal.content(journal.steps());
    const std::size_t index = closed.rfind("moov") - 4;
    for (std::size_t size = index; size < closed.size(); ++size) {
        const RecoveredFile cut = recovered(closed.substr(0, size));
        ASSERT_EQ(cut.state, State::mended) << size;
        ASSERT_GT(cut.seconds, 1.25) << size; // the last packet is whole again
        ASSERT_LT(cut.seconds, 1.28) << size;
        std::string zeros = closed;
        std::fill(zeros.begin() + static_cast<std::ptrdiff_t>(size), zeros.end(), '\0');
        const RecoveredFile blank = recovered(zeros);
        ASSERT_TRUE(blank.state == State::mended || zeros == closed) << size;
    }
}

TEST_F(Mp4RecoveryTest, AnyRubbishBehindTheFragmentsIsCutOff) {
    const std::string recording = journal.content(stepsUntilClosing);
    const std::string fragment = recording.substr(journal.content(stepsUntilBegun).size());
    for (const std::string& rubbish :
         {std::string(70000, '\0'), std::string(5000, '\xff'), fragment, recording, std::string("moov")}) {
        const RecoveredFile result = recovered(recording + rubbish);
        EXPECT_EQ(result.state, State::mended);
        EXPECT_EQ(frames(result), framesOfFragments(2));
    }
}

TEST_F(Mp4RecoveryTest, OnlyLookingSaysTheSameAndChangesNothing) {
    const std::string recording = journal.content(stepsUntilClosing);
    writeFile(damaged, recording);
    const RecoveredFile result = recovery.recoverFile(damaged, Mode::onlyLook);
    EXPECT_EQ(result.state, State::mendable);
    EXPECT_EQ(frames(result), framesOfFragments(2));
    EXPECT_EQ(contentOf(damaged), recording);
    EXPECT_TRUE(log.messages().empty());
}

TEST_F(Mp4RecoveryTest, MendingIsALineOfTheLogAndLookingIsNot) {
    recovered(journal.content(stepsUntilClosing));
    EXPECT_EQ(log.messages(), std::vector{"[rec] mended " + damaged.string() + ", 00:00"});
}

TEST_F(Mp4RecoveryTest, TimeOfModificationStays) {
    writeFile(damaged, journal.content(stepsUntilClosing));
    const auto longAgo = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1000);
    std::filesystem::last_write_time(damaged, longAgo);
    const auto before = std::filesystem::last_write_time(damaged);
    EXPECT_EQ(recovery.recoverFile(damaged, Mode::mend).state, State::mended);
    EXPECT_EQ(std::filesystem::last_write_time(damaged), before);
}

TEST_F(Mp4RecoveryTest, PermissionsStay) {
    for (const mode_t mode : {0600, 0644}) {
        writeFile(damaged, journal.content(stepsUntilClosing));
        std::filesystem::permissions(damaged, std::filesystem::perms(mode));
        EXPECT_EQ(recovery.recoverFile(damaged, Mode::mend).state, State::mended);
        EXPECT_EQ(modeOf(damaged), mode);
    }
}

TEST_F(Mp4RecoveryTest, LockedFileIsInUseAndNotTouched) {
    const std::string recording = journal.content(stepsUntilClosing);
    writeFile(damaged, recording);
    const FileHandle other(open(damaged.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(flock(other.get(), LOCK_EX), 0);
    EXPECT_EQ(recovery.recoverFile(damaged, Mode::mend).state, State::inUse);
    EXPECT_EQ(contentOf(damaged), recording);
}

TEST_F(Mp4RecoveryTest, FileThatIsBeingRecordedIsInUseUntilItIsOnTheDisk) {
    {
        AacFileWriterFactory factory;
        const auto writer = factory.create(damaged, {});
        EXPECT_EQ(recovery.recoverFile(damaged, Mode::mend).state, State::inUse);
    }
    EXPECT_EQ(recovery.recoverFile(damaged, Mode::mend).state, State::whole);
}

TEST_F(Mp4RecoveryTest, FileWithoutASecondOfSoundBecomesAnOrdinaryFileOfLengthZero) {
    const RecoveredFile result = recovered(journal.content(stepsUntilBegun));
    EXPECT_EQ(result.state, State::mended);
    EXPECT_EQ(result.seconds, 0);
}

TEST_F(Mp4RecoveryTest, RubbishAndFilesOfOthersAreRefusedAndNotTouched) {
    EXPECT_EQ(recovered("").reason, "It is empty.");
    EXPECT_EQ(recovered("not a recording").reason, "It is not a recording of Murmelo.");
    EXPECT_EQ(recovered(std::string(100000, '\0')).state, State::foreign);
    const std::string head = journal.content(stepsUntilBegun);
    for (std::size_t size = 0; size < head.size(); ++size)
        ASSERT_EQ(recovered(head.substr(0, size)).state, State::foreign) << size;
    int encoderBytes = 0;
    for (std::size_t at = 0; at < head.size(); ++at) {
        std::string altered = journal.content(stepsUntilClosing);
        altered[at] = static_cast<char>(altered[at] ^ 0x10);
        writeFile(damaged, altered);
        const State state = recovery.recoverFile(damaged, Mode::mend).state;
        const bool inHole = at >= 32 && at < 48;
        const bool describesTheEncoder = state == State::mended && !inHole;
        ASSERT_TRUE(state == (inHole ? State::mended : State::foreign) || describesTheEncoder) << at;
        encoderBytes += describesTheEncoder ? 1 : 0;
    }
    EXPECT_LE(encoderBytes, 9) << "its padding and its configuration";
    if (ffmpegIsMissing()) return;
    for (const std::string options : {"", "-movflags empty_moov+delay_moov -frag_duration 300000"}) {
        const auto file = foreign("other.m4a", "-f lavfi -i sine=d=2:r=48000 -ac 2 -c:a aac " + options);
        EXPECT_EQ(recovered(contentOf(file)).state, State::foreign);
    }
}

TEST_F(Mp4RecoveryTest, WhatIsNoFileIsReportedWithTheSystemsWords) {
    const auto reasonFor = [&](const std::filesystem::path& path) {
        const RecoveredFile result = recovery.recoverFile(path, Mode::mend);
        EXPECT_EQ(result.state, State::failed);
        return result.reason;
    };
    EXPECT_EQ(reasonFor(folder / "missing.m4a"), "No such file or directory");
    EXPECT_EQ(reasonFor(folder.path()), "Is a directory");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(reasonFor(folder / "pipe"), "This is not a regular file.");
}

TEST_F(Mp4RecoveryTest, LooksAtTheThreeFilesOfAFolderAndOfTheFoldersInIt) {
    const std::string recording = journal.content(stepsUntilClosing);
    const auto put = [&](const std::string& place, const std::string& name) {
        std::filesystem::create_directories(folder / place);
        writeFile(folder / place / name, recording);
    };
    put("all/b", "mix.m4a");
    put("all/b", "voice.m4a");
    put("all/b", "other.m4a");
    put("all/a", "system.m4a");
    put("all/a/deeper", "voice.m4a");
    put("all", "voice.m4a");
    std::vector<std::filesystem::path> seen;
    for (const RecoveredFile& file : recovery.recover(folder / "all", Mode::mend)) {
        EXPECT_EQ(file.state, State::mended);
        seen.push_back(std::filesystem::relative(file.path, folder / "all"));
    }
    EXPECT_EQ(seen,
              (std::vector<std::filesystem::path>{"voice.m4a", "a/system.m4a", "b/voice.m4a", "b/mix.m4a"}));
    EXPECT_EQ(contentOf(folder / "all" / "b" / "other.m4a"), recording);
}

TEST_F(Mp4RecoveryTest, MissingFolderHasNoRecordingsAndIsNotMade) {
    EXPECT_TRUE(recovery.recover(folder / "none", Mode::mend).empty());
    EXPECT_FALSE(std::filesystem::exists(folder / "none"));
}

TEST_F(Mp4RecoveryTest, FolderThatCannotBeReadIsAFailureAndTheOthersAreMendedAllTheSame) {
    std::filesystem::create_directories(folder / "all/b");
    std::filesystem::create_symlink("a", folder / "all/a"); // to itself
    writeFile(folder / "all/b/voice.m4a", journal.content(stepsUntilClosing));
    const std::vector<RecoveredFile> found = recovery.recover(folder / "all", Mode::mend);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].path, folder / "all/a");
    EXPECT_EQ(found[0].state, State::failed);
    EXPECT_EQ(found[0].reason, "Too many levels of symbolic links");
    EXPECT_EQ(found[1].state, State::mended);

    const std::vector<RecoveredFile> itself = recovery.recover(folder / "all/a", Mode::mend);
    ASSERT_EQ(itself.size(), 1U);
    EXPECT_EQ(itself[0].state, State::failed);
}

TEST_F(Mp4RecoveryTest, FolderWhoseListIsForbiddenIsAFailure) {
    std::filesystem::create_directory(folder / "all");
    writeFile(folder / "all/voice.m4a", journal.content(stepsUntilClosing));
    const OrdinaryUser user({folder.path(), folder / "all", folder / "all/voice.m4a"});
    std::filesystem::permissions(folder / "all", std::filesystem::perms(0300));
    const std::vector<RecoveredFile> found = recovery.recover(folder / "all", Mode::mend);
    std::filesystem::permissions(folder / "all", std::filesystem::perms(0700));
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].reason, "Permission denied");
    EXPECT_EQ(found[1].state, State::mended) << "its name is known";
}

} // namespace

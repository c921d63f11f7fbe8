#include "transcription/atomic_file.h"

#include "base/error.h"
#include "support/file_size_limit.h"
#include "support/ordinary_user.h"
#include "support/temporary_folder.h"
#include "support/with_umask.h"

#include <atomic>
#include <cerrno>
#include <gtest/gtest.h>
#include <iterator>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

/// The errno of the Error thrown; 0 when there is none.
int failureOf(const std::filesystem::path& target, std::string_view content) {
    try {
        replaceFileAtomically(target, content);
    } catch (const Error& error) {
        EXPECT_EQ(error.printed(), Error::posix(error.code()).printed());
        return error.code();
    }
    return 0;
}

std::size_t entries(const std::filesystem::path& folder) {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()));
}

TEST(AtomicFile, WritesANewFileAndLeavesNothingElse) {
    const TemporaryFolder folder;
    replaceFileAtomically(folder / "transcript.txt", "words");
    EXPECT_EQ(contentOf(folder / "transcript.txt"), "words");
    EXPECT_EQ(entries(folder.path()), 1U);
}

TEST(AtomicFile, ReplacesAnEarlierFile) {
    const TemporaryFolder folder;
    writeFile(folder / "transcript.txt", "a longer text that was here before");
    replaceFileAtomically(folder / "transcript.txt", "words");
    EXPECT_EQ(contentOf(folder / "transcript.txt"), "words");
    EXPECT_EQ(entries(folder.path()), 1U);
}

TEST(AtomicFile, KeepsEveryByteOfALongText) {
    const TemporaryFolder folder;
    std::string text;
    for (int i = 0; i < 500000; ++i) text += std::to_string(i);
    replaceFileAtomically(folder / "transcript.txt", text);
    EXPECT_TRUE(contentOf(folder / "transcript.txt") == text);
}

TEST(AtomicFile, IsForItsOwnerAloneWhateverTheUmask) {
    for (const mode_t mask : testedUmasks) {
        const TemporaryFolder folder;
        withUmask(mask, [&] { replaceFileAtomically(folder / "transcript.txt", "words"); });
        EXPECT_EQ(modeOf(folder / "transcript.txt"), 0600U) << mask;
    }
}

TEST(AtomicFile, IsForItsOwnerAloneAlsoInPlaceOfAFileThatWasNot) {
    const TemporaryFolder folder;
    writeFile(folder / "transcript.txt", "earlier");
    std::filesystem::permissions(folder / "transcript.txt", std::filesystem::perms(0644));
    replaceFileAtomically(folder / "transcript.txt", "words");
    EXPECT_EQ(modeOf(folder / "transcript.txt"), 0600U);
}

TEST(AtomicFile, PathMayHaveSpacesAndNonAsciiLetters) {
    const TemporaryFolder folder;
    const auto target = folder / "Aufnahme \xC3\xBC 1" / "transcript.txt";
    std::filesystem::create_directory(target.parent_path());
    replaceFileAtomically(target, "words");
    EXPECT_EQ(contentOf(target), "words");
}

TEST(AtomicFile, PathMayBeRelativeToTheCurrentFolder) {
    const TemporaryFolder folder;
    const auto previous = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    replaceFileAtomically("transcript.txt", "words");
    std::filesystem::current_path(previous);
    EXPECT_EQ(contentOf(folder / "transcript.txt"), "words");
}

TEST(AtomicFile, MissingFolderIsAnError) {
    const TemporaryFolder folder;
    EXPECT_EQ(failureOf(folder / "gone" / "transcript.txt", "words"), ENOENT);
}

TEST(AtomicFile, FolderInItsPlaceIsAnErrorAndStays) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "transcript.txt");
    EXPECT_EQ(failureOf(folder / "transcript.txt", "words"), EISDIR);
    EXPECT_TRUE(std::filesystem::is_directory(folder / "transcript.txt"));
    EXPECT_EQ(entries(folder.path()), 1U);
}

TEST(AtomicFile, FullDiskIsAnErrorAndTheEarlierFileStays) {
    const TemporaryFolder folder;
    writeFile(folder / "transcript.txt", "earlier");
    {
        const FileSizeLimit tenBytes(10); // the first write is cut short, the second one fails
        EXPECT_EQ(failureOf(folder / "transcript.txt", "more than ten bytes"), EFBIG);
    }
    EXPECT_EQ(contentOf(folder / "transcript.txt"), "earlier");
    EXPECT_EQ(entries(folder.path()), 1U);
}

TEST(AtomicFile, ReadOnlyFolderIsAnErrorAndTheEarlierFileStays) {
    const TemporaryFolder folder;
    writeFile(folder / "transcript.txt", "earlier");
    const OrdinaryUser user({folder.path()});
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0500));
    EXPECT_EQ(failureOf(folder / "transcript.txt", "words"), EACCES);
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0700));
    EXPECT_EQ(contentOf(folder / "transcript.txt"), "earlier");
}

TEST(AtomicFile, LeftoverOfAKilledProcessIsNotTouchedAndNotInTheWay) {
    const TemporaryFolder folder;
    writeFile(folder / ".transcript.txt.0.tmp", "half a transc");
    replaceFileAtomically(folder / "transcript.txt", "words");
    EXPECT_EQ(contentOf(folder / "transcript.txt"), "words");
    EXPECT_EQ(contentOf(folder / ".transcript.txt.0.tmp"), "half a transc");
    EXPECT_EQ(entries(folder.path()), 2U);
}

TEST(AtomicFile, LinkToAFileElsewhereIsReplacedNotFollowed) {
    const TemporaryFolder folder;
    writeFile(folder / "elsewhere", "untouched");
    std::filesystem::create_symlink(folder / "elsewhere", folder / "transcript.txt");
    replaceFileAtomically(folder / "transcript.txt", "words");
    EXPECT_EQ(contentOf(folder / "elsewhere"), "untouched");
    EXPECT_EQ(contentOf(folder / "transcript.txt"), "words");
}

TEST(AtomicFile, ReaderNeverSeesAnythingButAWholeText) {
    const TemporaryFolder folder;
    const auto target = folder / "transcript.txt";
    const std::string texts[] = {std::string(60000, 'a'), std::string(90000, 'b')};
    replaceFileAtomically(target, texts[0]);
    std::vector<std::thread> writers;
    std::atomic<int> writing = 2;
    for (const std::string& text : texts)
        writers.emplace_back([&] {
            for (int i = 0; i < 50; ++i) replaceFileAtomically(target, text);
            --writing;
        });
    bool whole = true;
    while (writing > 0) {
        const std::string seen = contentOf(target);
        whole = whole && (seen == texts[0] || seen == texts[1]);
    }
    for (std::thread& writer : writers) writer.join();
    EXPECT_TRUE(whole);
    EXPECT_EQ(entries(folder.path()), 1U);
}

} // namespace

#include "base/folder_entries.h"

#include "support/temporary_folder.h"

#include <gtest/gtest.h>

namespace {

using Paths = std::vector<std::filesystem::path>;

TEST(FolderEntries, AreInAlphabeticalOrderAndHiddenOnesAreAmongThem) {
    const TemporaryFolder folder;
    for (const char* name : {"b", ".c", "a"}) writeFile(folder / name, "");
    std::error_code error;
    EXPECT_EQ(folderEntries(folder.path(), error), (Paths{folder / ".c", folder / "a", folder / "b"}));
    EXPECT_FALSE(error);
}

TEST(FolderEntries, MissingFolderIsAnErrorOfItsOwn) {
    const TemporaryFolder folder;
    std::error_code error;
    EXPECT_EQ(folderEntries(folder / "missing", error), Paths());
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
}

TEST(FolderEntries, FolderThatCannotBeOpenedIsAnErrorAndNotEmpty) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink("loop", folder / "loop");
    std::error_code error;
    EXPECT_EQ(folderEntries(folder / "loop", error), Paths());
    EXPECT_EQ(error, std::errc::too_many_symbolic_link_levels);
}

} // namespace

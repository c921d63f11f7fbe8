#include "base/private_files.h"

#include "support/temporary_folder.h"
#include "support/with_umask.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>

namespace {

TEST(PrivateFiles, NewFileIsForItsOwnerAloneWhateverTheUmask) {
    for (const mode_t mask : testedUmasks) {
        const TemporaryFolder folder;
        withUmask(mask, [&] { openPrivateFile(folder / "file", O_WRONLY | O_CREAT | O_EXCL); });
        EXPECT_EQ(modeOf(folder / "file"), 0600U) << mask;
    }
}

TEST(PrivateFiles, OlderFileBecomesPrivateWhenItIsOpened) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "kept");
    std::filesystem::permissions(folder / "file", std::filesystem::perms(0664));
    ::close(openPrivateFile(folder / "file", O_WRONLY));
    EXPECT_EQ(modeOf(folder / "file"), 0600U);
    EXPECT_EQ(contentOf(folder / "file"), "kept");
}

TEST(PrivateFiles, OpenFileIsNotInheritedByPrograms) {
    const TemporaryFolder folder;
    const int descriptor = openPrivateFile(folder / "file", O_WRONLY | O_CREAT);
    EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
    ::close(descriptor);
}

TEST(PrivateFiles, WhatIsNoRegularFileKeepsItsMode) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    std::filesystem::permissions(folder / "pipe", std::filesystem::perms(0644));
    ::close(openPrivateFile(folder / "pipe", O_RDWR));
    EXPECT_EQ(modeOf(folder / "pipe"), 0644U);
}

TEST(PrivateFiles, FileThatCannotBeOpenedIsAnError) {
    const TemporaryFolder folder;
    EXPECT_EQ(openPrivateFile(folder / "missing", O_WRONLY), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST(PrivateFolders, NewFolderAndItsNewParentsAreForTheirOwnerAloneWhateverTheUmask) {
    for (const mode_t mask : testedUmasks) {
        const TemporaryFolder folder;
        withUmask(mask, [&] { createPrivateFolder(folder / "a/b/c"); });
        for (const char* name : {"a", "a/b", "a/b/c"}) EXPECT_EQ(modeOf(folder / name), 0700U) << mask;
    }
}

TEST(PrivateFolders, FolderThatExistsKeepsItsMode) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "Music");
    std::filesystem::permissions(folder / "Music", std::filesystem::perms(0755));
    createPrivateFolder(folder / "Music");
    createPrivateFolder(folder / "Music/Murmelo");
    EXPECT_EQ(modeOf(folder / "Music"), 0755U);
    EXPECT_EQ(modeOf(folder / "Music/Murmelo"), 0700U);
}

TEST(PrivateFolders, GroupOfTheFolderAboveIsNotInherited) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "shared");
    std::filesystem::permissions(folder / "shared", std::filesystem::perms(02775));
    createPrivateFolder(folder / "shared/own");
    EXPECT_EQ(modeOf(folder / "shared/own"), 0700U);
}

TEST(PrivateFolders, FolderThatCannotBeCreatedIsNoError) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "");
    createPrivateFolder(folder / "file/below/it");
    createPrivateFolder("");
    EXPECT_TRUE(std::filesystem::is_regular_file(folder / "file"));
}

TEST(PrivateFolders, NameMayEndWithASlashAndBeRelative) {
    const TemporaryFolder folder;
    const auto previous = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    createPrivateFolder("a/b/");
    std::filesystem::current_path(previous);
    EXPECT_EQ(modeOf(folder / "a/b"), 0700U);
}

} // namespace

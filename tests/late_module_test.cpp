#include "late_module.h"

#include "base/error.h"
#include "support/temporary_folder.h"

#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace {

std::filesystem::path placeIn(const TemporaryFolder& folder) {
    std::filesystem::create_directories(folder / "lib/murmelo");
    return folder / "lib/murmelo/murmelo-late.so";
}

/// The sentence with which a program in that folder fails.
std::string failureIn(const std::filesystem::path& folder) {
    LateModule module(folder);
    try {
        module.backends();
    } catch (const Error& error) {
        return error.localizedDescription();
    }
    return "none";
}

TEST(LateModule, WhereItIsMissingASentenceSaysSo) {
    const TemporaryFolder folder;
    EXPECT_EQ(failureIn(folder / "bin"),
              "A part of Murmelo cannot be loaded: " + (folder / "lib/murmelo/murmelo-late.so").string() +
                  " is missing.");
}

TEST(LateModule, OneThatIsNoLibraryIsRefused) {
    const TemporaryFolder folder;
    writeFile(placeIn(folder), "not a library");
    EXPECT_THAT(failureIn(folder.path()), testing::StartsWith("A part of Murmelo cannot be loaded: "));
}

TEST(LateModule, AnotherLibraryInItsPlaceIsRefused) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink(MURMELO_NO_MODULE, placeIn(folder));
    EXPECT_EQ(failureIn(folder.path()),
              "A part of Murmelo cannot be loaded: " + (folder / "lib/murmelo/murmelo-late.so").string() +
                  " is damaged.");
}

TEST(LateModule, OneThatWasReplacedMeanwhileIsLoadedAsItWas) {
    const TemporaryFolder folder;
    std::filesystem::copy_file(std::filesystem::path(MURMELO_BUILD_FOLDER) / "lib/murmelo/murmelo-late.so",
                               placeIn(folder));
    LateModule module(folder.path());
    std::filesystem::remove(placeIn(folder));
    writeFile(placeIn(folder), "an update in the making");
    EXPECT_NE(module.backends().makeFiles, nullptr);
}

TEST(LateModule, ItsFilesReportFaultsThroughThePort) {
    LateModule module(MURMELO_BUILD_FOLDER);
    const TemporaryFolder folder;
    const auto files = module.backends().makeFiles([](const std::string&) {});
    files->create(folder / "a.m4a", {}).reset();
    EXPECT_TRUE(std::filesystem::exists(folder / "a.m4a"));
    try {
        files->create(folder / "a.m4a", {});
        FAIL() << "created twice";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), EEXIST);
    }
}

} // namespace

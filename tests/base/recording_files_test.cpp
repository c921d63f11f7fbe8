#include "base/recording_files.h"

#include "base/home_folder.h"
#include "support/environment.h"
#include "support/temporary_folder.h"
#include "support/with_umask.h"

#include <gtest/gtest.h>

namespace {

class MusicFolder : public testing::Test {
  protected:
    std::filesystem::path with(const std::string& userDirs) {
        writeFile(m_config / "user-dirs.dirs", userDirs);
        return musicFolder("/home/eva", m_config.path());
    }
    TemporaryFolder m_config;
};

TEST_F(MusicFolder, IsTheEntryOfUserDirs) {
    EXPECT_EQ(with("# comment\nXDG_DESKTOP_DIR=\"$HOME/Desktop\"\nXDG_MUSIC_DIR=\"$HOME/Musik\"\n"),
              "/home/eva/Musik");
    EXPECT_EQ(with("XDG_MUSIC_DIR=\"/data/My \\\"Music\\\"/\"\n"), "/data/My \"Music\"");
}

TEST_F(MusicFolder, IsHomeWhenNotSetUp) {
    EXPECT_EQ(musicFolder("/home/eva", m_config.path()), "/home/eva");
    EXPECT_EQ(with(""), "/home/eva");
}

TEST_F(MusicFolder, IsHomeWhenTheEntrySaysHome) {
    EXPECT_EQ(with("XDG_MUSIC_DIR=\"$HOME\"\n"), "/home/eva");
    EXPECT_EQ(with("XDG_MUSIC_DIR=\"$HOME/\"\n"), "/home/eva");
}

TEST_F(MusicFolder, IgnoresEntriesThatTheConventionDoesNotKnow) {
    EXPECT_EQ(with("XDG_MUSIC_DIR=\"relative\"\n"), "/home/eva");
    EXPECT_EQ(with("XDG_MUSIC_DIR=\"$HOMER/x\"\n"), "/home/eva");
    EXPECT_EQ(with("XDG_MUSIC_DIR=\"/no/end\n"), "/home/eva");
    EXPECT_EQ(with("XDG_MUSIC_DIR=\"\n"), "/home/eva");
}

TEST(RecordingsFolder, IsCreatedAtEachAccess) {
    TemporaryFolder home;
    ScopedEnvironment homeVariable("HOME", home.path());
    ScopedEnvironment configVariable("XDG_CONFIG_HOME", std::nullopt);
    EXPECT_EQ(recordingsFolder(), home / "Murmelo");
    std::filesystem::remove(home / "Murmelo");
    EXPECT_EQ(recordingsFolder(), home / "Murmelo");
    EXPECT_TRUE(std::filesystem::is_directory(home / "Murmelo"));
}

TEST(PlaceOfRecordings, IsTheSameFolderAndIsNotCreated) {
    TemporaryFolder home;
    ScopedEnvironment homeVariable("HOME", home.path());
    ScopedEnvironment configVariable("XDG_CONFIG_HOME", std::nullopt);
    EXPECT_EQ(placeOfRecordings(), home / "Murmelo");
    EXPECT_FALSE(std::filesystem::exists(home / "Murmelo"));
}

TEST(RecordingsFolder, IsForItsOwnerAloneWhateverTheUmaskAndTheFolderAboveStaysAsItIs) {
    for (const mode_t mask : testedUmasks) {
        TemporaryFolder home;
        std::filesystem::permissions(home.path(), std::filesystem::perms(0755));
        ScopedEnvironment homeVariable("HOME", home.path());
        ScopedEnvironment configVariable("XDG_CONFIG_HOME", std::nullopt);
        withUmask(mask, [] { recordingsFolder(); });
        EXPECT_EQ(modeOf(home / "Murmelo"), 0700U) << mask;
        EXPECT_EQ(modeOf(home.path()), 0755U) << mask;
    }
}

TEST(RecordingsFolder, IsReturnedEvenWhenItCannotBeCreated) {
    TemporaryFolder home;
    writeFile(home / "Murmelo", "a file in the way");
    ScopedEnvironment homeVariable("HOME", home.path());
    ScopedEnvironment configVariable("XDG_CONFIG_HOME", home.path());
    EXPECT_EQ(recordingsFolder(), home / "Murmelo");
}

TEST(RecordingFolderName, IsTheLocalTimeInAsciiDigits) {
    ScopedEnvironment zone("TZ", "CET-1");
    EXPECT_EQ(recordingFolderName(std::chrono::system_clock::from_time_t(1741353302)),
              "recording-2025-03-07-141502");
}

TEST(RecordingFolderName, FollowsATimeZoneThatChangesWhileTheProgramRuns) {
    const auto start = std::chrono::system_clock::from_time_t(1741353302);
    {
        ScopedEnvironment zone("TZ", "UTC0");
        EXPECT_EQ(recordingFolderName(start), "recording-2025-03-07-131502");
    }
    ScopedEnvironment zone("TZ", "EST5");
    EXPECT_EQ(recordingFolderName(start), "recording-2025-03-07-081502");
}

TEST(RecordingFolderName, IsTheSameWithinOneSecond) {
    const auto start = std::chrono::system_clock::from_time_t(1741353302);
    EXPECT_EQ(recordingFolderName(start), recordingFolderName(start + std::chrono::milliseconds(999)));
}

TEST(HomeFolder, ComesFromThePasswordDatabaseWhenHomeIsUnset) {
    ScopedEnvironment homeVariable("HOME", std::nullopt);
    EXPECT_TRUE(homeFolder().is_absolute());
}

} // namespace

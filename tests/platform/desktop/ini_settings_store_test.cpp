#include "platform/desktop/ini_settings_store.h"
#include "support/log_capture.h"
#include "support/temporary_folder.h"
#include "support/with_umask.h"

#include <fstream>
#include <gmock/gmock.h>
#include <iterator>

namespace {

class IniSettingsStoreTest : public testing::Test {
  protected:
    void write(const std::string& content) const {
        std::filesystem::create_directories(m_file.parent_path());
        std::ofstream(m_file) << content;
    }
    std::string content() const {
        std::ifstream stream(m_file);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    LogCapture m_log;
    TemporaryFolder m_folder;
    const std::filesystem::path m_file = m_folder / "murmelo" / "murmelo.conf";
};

TEST_F(IniSettingsStoreTest, WhatWasNeverStoredIsAbsent) {
    const IniSettingsStore settings(m_file);
    EXPECT_EQ(settings.string("micID"), std::nullopt);
    EXPECT_FALSE(settings.boolean("transcribe"));
    EXPECT_TRUE(m_log.messages().empty());
    EXPECT_FALSE(std::filesystem::exists(m_file));
}

TEST_F(IniSettingsStoreTest, SettingsAreThereAtTheNextLaunchAndAtOnce) {
    IniSettingsStore settings(m_file);
    settings.setString("micID", "alsa_input.usb, 2 \"Räume\"");
    settings.setBoolean("transcribe", true);
    const IniSettingsStore next(m_file);
    EXPECT_EQ(next.string("micID"), "alsa_input.usb, 2 \"Räume\"");
    EXPECT_TRUE(next.boolean("transcribe"));
}

TEST_F(IniSettingsStoreTest, FileAndFolderAreForTheirOwnerAloneWhateverTheUmask) {
    for (const mode_t mask : testedUmasks) {
        const std::filesystem::path file = m_folder / std::to_string(mask) / "murmelo.conf";
        withUmask(mask, [&] { IniSettingsStore(file).setBoolean("transcribe", true); });
        EXPECT_EQ(modeOf(file.parent_path()), 0700U) << mask;
        EXPECT_EQ(modeOf(file), 0600U) << mask;
        EXPECT_TRUE(IniSettingsStore(file).boolean("transcribe")) << mask;
    }
}

TEST_F(IniSettingsStoreTest, AnOlderFileBecomesPrivateWithTheNextSettingAndItsFolderStaysAsItIs) {
    write("transcribe=true\n");
    std::filesystem::permissions(m_file.parent_path(), std::filesystem::perms(0755));
    std::filesystem::permissions(m_file, std::filesystem::perms(0644));
    IniSettingsStore(m_file).setString("micID", "desk");
    EXPECT_EQ(modeOf(m_file), 0600U);
    EXPECT_EQ(modeOf(m_file.parent_path()), 0755U);
    EXPECT_TRUE(IniSettingsStore(m_file).boolean("transcribe"));
}

TEST_F(IniSettingsStoreTest, NothingRemovesTheKey) {
    IniSettingsStore settings(m_file);
    settings.setString("micID", "desk");
    settings.setString("micID", std::nullopt);
    EXPECT_EQ(settings.string("micID"), std::nullopt);
    EXPECT_EQ(content().find("micID"), std::string::npos);
}

TEST_F(IniSettingsStoreTest, WhatIsStoredAlreadyIsNotWrittenAgain) {
    IniSettingsStore settings(m_file);
    settings.setString("micID", "desk");
    std::filesystem::remove(m_file);
    settings.setString("micID", "desk");
    EXPECT_FALSE(std::filesystem::exists(m_file));
    settings.setString("micID", "lamp");
    EXPECT_TRUE(std::filesystem::exists(m_file));
}

TEST_F(IniSettingsStoreTest, AnEmptyStringIsNotNothing) {
    IniSettingsStore settings(m_file);
    settings.setString("micID", "");
    EXPECT_EQ(IniSettingsStore(m_file).string("micID"), "");
}

TEST_F(IniSettingsStoreTest, FalseIsStoredAsFalse) {
    IniSettingsStore settings(m_file);
    settings.setBoolean("transcribe", true);
    settings.setBoolean("transcribe", false);
    EXPECT_FALSE(IniSettingsStore(m_file).boolean("transcribe"));
}

TEST_F(IniSettingsStoreTest, ADamagedFileGivesDefaultsALogLineAndTakesNewSettings) {
    write("[General\nmicID\n\x01\xff");
    IniSettingsStore settings(m_file);
    EXPECT_EQ(settings.string("micID"), std::nullopt);
    EXPECT_THAT(m_log.messages(),
                testing::ElementsAre("[app] settings " + m_file.string() + " could not be read in whole"));
    settings.setBoolean("onboarded", true);
    EXPECT_TRUE(IniSettingsStore(m_file).boolean("onboarded"));
}

TEST_F(IniSettingsStoreTest, WhatIsNoBooleanIsFalse) {
    write("transcribe=maybe\nonboarded=1\n");
    const IniSettingsStore settings(m_file);
    EXPECT_FALSE(settings.boolean("transcribe"));
    EXPECT_TRUE(settings.boolean("onboarded"));
}

TEST_F(IniSettingsStoreTest, AnUnquotedCommaWrittenByHandStaysInTheText) {
    write("micID=a,b\n");
    EXPECT_EQ(IniSettingsStore(m_file).string("micID"), "a,b");
}

TEST_F(IniSettingsStoreTest, AFileThatCannotBeWrittenKeepsSettingsForTheProgramAndIsLoggedOnce) {
    std::ofstream(m_folder / "murmelo") << "a file in the folder's place";
    IniSettingsStore settings(m_file);
    settings.setString("micID", "desk");
    settings.setBoolean("transcribe", true);
    EXPECT_EQ(settings.string("micID"), "desk");
    EXPECT_TRUE(settings.boolean("transcribe"));
    EXPECT_THAT(m_log.messages(),
                testing::ElementsAre("[app] settings " + m_file.string() + " cannot be written"));
}

} // namespace

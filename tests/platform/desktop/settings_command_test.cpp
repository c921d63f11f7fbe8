#include "platform/desktop/desktop_workspace.h"

#include <gmock/gmock.h>
#include <set>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> command(SettingsPage page, const std::string& desktop,
                                 const std::set<std::string>& installed) {
    return settingsCommand(page, desktop,
                           [&](const std::string& program) { return installed.contains(program); });
}

TEST(SettingsCommandTest, GnomeShowsPrivacyForTheMicrophoneAndSoundForTheRest) {
    const std::set<std::string> installed{"gnome-control-center", "pavucontrol"};
    EXPECT_THAT(command(SettingsPage::microphone, "ubuntu:GNOME", installed),
                ElementsAre("gnome-control-center", "privacy"));
    EXPECT_THAT(command(SettingsPage::sound, "GNOME", installed),
                ElementsAre("gnome-control-center", "sound"));
}

TEST(SettingsCommandTest, KdeShowsItsSoundSettings) {
    EXPECT_THAT(command(SettingsPage::microphone, "KDE", {"systemsettings"}),
                ElementsAre("systemsettings", "kcm_pulseaudio"));
}

TEST(SettingsCommandTest, OtherDesktopsShowAMixer) {
    EXPECT_THAT(command(SettingsPage::microphone, "XFCE", {"gnome-control-center", "pavucontrol"}),
                ElementsAre("pavucontrol"));
    EXPECT_THAT(command(SettingsPage::sound, "", {"pavucontrol"}), ElementsAre("pavucontrol"));
    EXPECT_THAT(command(SettingsPage::sound, "GNOME", {"pavucontrol"}), ElementsAre("pavucontrol"));
}

TEST(SettingsCommandTest, WithoutAnyOfThemNothingHappens) {
    EXPECT_THAT(command(SettingsPage::microphone, "GNOME", {}), IsEmpty());
}

} // namespace

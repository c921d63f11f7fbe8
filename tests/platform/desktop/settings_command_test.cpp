#include "platform/desktop/desktop_workspace.h"

#include <gmock/gmock.h>
#include <set>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* microphone =
    "x-apple.systempreferences:com.apple.settings.PrivacySecurity.extension?Privacy_Microphone";
constexpr const char* audioCapture =
    "x-apple.systempreferences:com.apple.settings.PrivacySecurity.extension?Privacy_AudioCapture";

std::vector<std::string> command(const std::string& link, const std::string& desktop,
                                 const std::set<std::string>& installed) {
    return settingsCommand(link, desktop,
                           [&](const std::string& program) { return installed.contains(program); });
}

TEST(SettingsCommandTest, GnomeShowsPrivacyForTheMicrophoneAndSoundForTheRest) {
    const std::set<std::string> installed{"gnome-control-center", "pavucontrol"};
    EXPECT_THAT(command(microphone, "ubuntu:GNOME", installed),
                ElementsAre("gnome-control-center", "privacy"));
    EXPECT_THAT(command(audioCapture, "GNOME", installed), ElementsAre("gnome-control-center", "sound"));
}

TEST(SettingsCommandTest, KdeShowsItsSoundSettings) {
    EXPECT_THAT(command(microphone, "KDE", {"systemsettings"}),
                ElementsAre("systemsettings", "kcm_pulseaudio"));
}

TEST(SettingsCommandTest, OtherDesktopsShowAMixer) {
    EXPECT_THAT(command(microphone, "XFCE", {"gnome-control-center", "pavucontrol"}),
                ElementsAre("pavucontrol"));
    EXPECT_THAT(command(audioCapture, "", {"pavucontrol"}), ElementsAre("pavucontrol"));
    EXPECT_THAT(command(audioCapture, "GNOME", {"pavucontrol"}), ElementsAre("pavucontrol"));
}

TEST(SettingsCommandTest, WithoutAnyOfThemNothingHappens) {
    EXPECT_THAT(command(microphone, "GNOME", {}), IsEmpty());
}

TEST(SettingsCommandTest, AnUnknownLinkOpensNothing) {
    EXPECT_THAT(command("https://example.org", "GNOME", {"gnome-control-center", "pavucontrol"}), IsEmpty());
}

} // namespace

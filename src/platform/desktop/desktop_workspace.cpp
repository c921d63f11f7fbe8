#include "platform/desktop/desktop_workspace.h"

#include <QDesktopServices>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>

namespace {

/// What the last part of a link names.
enum class Page { unknown, microphone, audioCapture };

Page pageOf(const std::string& link) {
    if (link.ends_with("?Privacy_Microphone")) return Page::microphone;
    if (link.ends_with("?Privacy_AudioCapture")) return Page::audioCapture;
    return Page::unknown;
}

} // namespace

std::vector<std::string> settingsCommand(const std::string& link, const std::string& currentDesktop,
                                         const std::function<bool(const std::string&)>& isInstalled) {
    const Page page = pageOf(link);
    if (page == Page::unknown) return {};
    const bool isMicrophone = page == Page::microphone;
    const std::string desktops = ":" + currentDesktop + ":";
    std::vector<std::vector<std::string>> commands;
    // Only the microphone has a switch for its privacy; what is played is looked after where sound is set.
    if (desktops.find(":GNOME:") != std::string::npos)
        commands.push_back({"gnome-control-center", isMicrophone ? "privacy" : "sound"});
    if (desktops.find(":KDE:") != std::string::npos) commands.push_back({"systemsettings", "kcm_pulseaudio"});
    commands.push_back({"pavucontrol"});
    for (const std::vector<std::string>& command : commands)
        if (isInstalled(command.front())) return command;
    return {};
}

void DesktopWorkspace::open(const std::filesystem::path& file) {
    QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(file.string())));
}

void DesktopWorkspace::openLink(const std::string& link) {
    const std::vector<std::string> command = settingsCommand(
        link, qEnvironmentVariable("XDG_CURRENT_DESKTOP").toStdString(), [](const std::string& program) {
            return !QStandardPaths::findExecutable(QString::fromStdString(program)).isEmpty();
        });
    if (command.empty()) return;
    QStringList arguments;
    for (std::size_t i = 1; i < command.size(); ++i) arguments << QString::fromStdString(command[i]);
    QProcess::startDetached(QString::fromStdString(command.front()), arguments);
}

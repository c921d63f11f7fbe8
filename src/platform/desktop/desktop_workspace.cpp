#include "platform/desktop/desktop_workspace.h"

#include <QDesktopServices>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>

std::vector<std::string> settingsCommand(SettingsPage page, const std::string& currentDesktop,
                                         const std::function<bool(const std::string&)>& isInstalled) {
    const std::string desktops = ":" + currentDesktop + ":";
    std::vector<std::vector<std::string>> commands;
    if (desktops.find(":GNOME:") != std::string::npos)
        commands.push_back({"gnome-control-center", page == SettingsPage::microphone ? "privacy" : "sound"});
    if (desktops.find(":KDE:") != std::string::npos) commands.push_back({"systemsettings", "kcm_pulseaudio"});
    commands.push_back({"pavucontrol"});
    for (const std::vector<std::string>& command : commands)
        if (isInstalled(command.front())) return command;
    return {};
}

void DesktopWorkspace::open(const std::filesystem::path& file) {
    QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(file.string())));
}

void DesktopWorkspace::openSettings(SettingsPage page) {
    const std::vector<std::string> command = settingsCommand(
        page, qEnvironmentVariable("XDG_CURRENT_DESKTOP").toStdString(), [](const std::string& program) {
            return !QStandardPaths::findExecutable(QString::fromStdString(program)).isEmpty();
        });
    if (command.empty()) return;
    QStringList arguments;
    for (std::size_t i = 1; i < command.size(); ++i) arguments << QString::fromStdString(command[i]);
    QProcess::startDetached(QString::fromStdString(command.front()), arguments);
}

#pragma once

#include "app/workspace.h"

#include <functional>
#include <string>
#include <vector>

/// Opens files with the desktop's own programs. Needs Qt's application object.
class DesktopWorkspace final : public Workspace {
  public:
    void open(const std::filesystem::path& file) override;
    void openSettings(SettingsPage page) override;
};

/// The command that shows a page of the desktop's own settings, else a mixer; empty when there is neither.
/// `currentDesktop` is $XDG_CURRENT_DESKTOP, names separated by colons; `isInstalled` says whether a program
/// is there.
std::vector<std::string> settingsCommand(SettingsPage page, const std::string& currentDesktop,
                                         const std::function<bool(const std::string& program)>& isInstalled);

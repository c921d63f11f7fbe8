#pragma once

#include "app/workspace.h"

#include <functional>
#include <string>
#include <vector>

/// Opens files with the desktop's own programs. Needs Qt's application object.
class DesktopWorkspace final : public Workspace {
  public:
    void open(const std::filesystem::path& file) override;
    void openLink(const std::string& link) override;
};

/// The command that shows what a settings link asks for: the desktop's own settings, else a mixer; empty when
/// there is neither, or the link is unknown. `currentDesktop` is $XDG_CURRENT_DESKTOP, names separated by
/// colons; `isInstalled` says whether a program is there.
std::vector<std::string> settingsCommand(const std::string& link, const std::string& currentDesktop,
                                         const std::function<bool(const std::string& program)>& isInstalled);

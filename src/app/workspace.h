#pragma once

#include <filesystem>

/// What the user can be led to in the desktop's settings.
enum class SettingsPage {
    microphone, ///< which programs may use the microphone
    sound       ///< sound devices and volumes
};

/// Port: the desktop's other programs. Main thread; returns at once, and whether it worked is not told.
class Workspace {
  public:
    virtual ~Workspace() = default;
    /// Shows a file with the program that the user has chosen for it, a folder in the file browser.
    virtual void open(const std::filesystem::path& file) = 0;
    virtual void openSettings(SettingsPage page) = 0;
};

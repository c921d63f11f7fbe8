#pragma once

#include <filesystem>
#include <string>

/// Port: the desktop's other programs. Main thread; returns at once, and whether it worked is not told.
class Workspace {
  public:
    virtual ~Workspace() = default;
    /// Shows a file with the program that the user has chosen for it, a folder in the file browser.
    virtual void open(const std::filesystem::path& file) = 0;
    /// Opens a page of the desktop's settings by the link that the program knows it under.
    virtual void openLink(const std::string& link) = 0;
};

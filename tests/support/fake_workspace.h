#pragma once

#include "app/workspace.h"

#include <vector>

/// Keeps what it should have opened.
class FakeWorkspace final : public Workspace {
  public:
    void open(const std::filesystem::path& file) override { opened.push_back(file); }
    void openSettings(SettingsPage page) override { settings.push_back(page); }

    std::vector<std::filesystem::path> opened;
    std::vector<SettingsPage> settings;
};

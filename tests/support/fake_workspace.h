#pragma once

#include "app/workspace.h"

#include <vector>

/// Keeps what it should have opened.
class FakeWorkspace final : public Workspace {
  public:
    void open(const std::filesystem::path& file) override { opened.push_back(file); }
    void openLink(const std::string& link) override { links.push_back(link); }

    std::vector<std::filesystem::path> opened;
    std::vector<std::string> links;
};

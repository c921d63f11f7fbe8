#pragma once

#include <filesystem>

/// murmelo/models in the user's folder of data: $XDG_DATA_HOME, or ~/.local/share where that is no absolute
/// path.
std::filesystem::path modelsFolder();

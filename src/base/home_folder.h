#pragma once

#include <filesystem>

/// The user's home folder: $HOME, or the password database's entry where HOME is unset or empty.
std::filesystem::path homeFolder();

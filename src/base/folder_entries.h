#pragma once

#include <filesystem>
#include <system_error>
#include <vector>

/// The paths of what is in the folder, in alphabetical order. `error` is set when the folder cannot be opened
/// (no_such_file_or_directory when it does not exist) or not be read to its end; the result then holds what
/// was read before. Any thread.
std::vector<std::filesystem::path> folderEntries(const std::filesystem::path& folder, std::error_code& error);

#pragma once

#include "platform/posix/file_handle.h"

#include <filesystem>

/// Opens a regular file for reading. Throws Error "posix", at once also where a pipe or a device that nobody
/// writes to is in its place.
FileHandle openRegularFile(const std::filesystem::path& path);

/// Throws Error "posix" when that is no regular file, or nothing that is open.
void requireRegularFile(const FileHandle& file);

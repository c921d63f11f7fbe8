#pragma once

#include "platform/models/local_file.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>

/// More than this is no model.
struct UnpackingLimits {
    std::uint64_t bytes; ///< of all files together
    int names;           ///< in the paths of all files and folders: "a/b" and "a/c" are four
};

/// Unpacks a tar archive, compressed with bzip2 or not at all, into an empty folder, and brings the files to
/// the disk.
///
/// Only files and folders, with the permissions of the user's umask, and only inside the folder: an archive
/// with an absolute path, with "..", with a link or a device is refused, as is one without any file or beyond
/// the limits. Reports how many bytes of the archive were read. Throws Error "models"; the folder may then
/// hold anything, and nothing outside it has changed. A stop request ends it within a second.
void unpackArchive(LocalFile& file, const std::filesystem::path& folder, const UnpackingLimits& limits,
                   const std::function<void(std::uint64_t)>& onRead, const std::stop_token& stop);

#pragma once

#include <filesystem>

/// Where a file or folder that belongs to the program is: below the executable's folder (the build tree),
/// else below the folder around that (the installed tree), which is also the answer when it is in neither.
std::filesystem::path programPart(const std::filesystem::path& executableFolder,
                                  const std::filesystem::path& part);

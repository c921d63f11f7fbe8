#pragma once

#include <filesystem>
#include <string_view>

/// Puts a file with this content at `target`, in place of any earlier one. Only its owner may read it,
/// whatever the umask and the earlier file's permissions were. Whatever happens, even a power cut, `target`
/// is either what it was or complete. Any thread; blocks for the disk. Throws Error (domain "posix") when it
/// cannot; `target` is then what it was and nothing is left beside it.
void replaceFileAtomically(const std::filesystem::path& target, std::string_view content);

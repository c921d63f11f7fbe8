#pragma once

#include <filesystem>
#include <span>

/// From now on this thread, and every thread and process that it starts, opens no file but these for reading:
///
///   - the files named, and all that is below the folders named; what a symbolic link in such a folder leads
///   to
///     counts as in it;
///   - shared libraries where the dynamic loader looks for them, locales and time zones;
///   - what the kernel tells of this process (/proc/self) and of the processors (/sys/devices/system/cpu).
///
/// Folders are listed in these places only, and nothing is written, made, moved, removed or executed
/// anywhere. What is open already stays open. That a file exists, its size and its times can still be asked.
/// Rights are those of Landlock's ABI 2; ABI 1 differs in nothing that matters here, because it never lets a
/// file be moved into another folder. What is named and not there is ignored.
///
/// Throws std::system_error when the kernel has no Landlock or it is switched off; then nothing has changed.
void restrictReading(std::span<const std::filesystem::path> readable);

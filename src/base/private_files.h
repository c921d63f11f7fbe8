#pragma once

#include <filesystem>
#include <sys/types.h>

/// Files and folders that only their owner may read. Recordings, transcripts, the log and the settings are
/// made with these functions, whatever the umask of the process is. Any thread.

/// The mode with which a private file is created: nobody else can open it before makePrivate has been called.
inline constexpr mode_t privateFileMode = 0600;

/// Gives a regular file the mode 0600 if it has another one: the umask can have taken permissions from the
/// owner, and the file can be older. A device or a pipe, a file of another user, and a file on a file system
/// without modes stay as they are.
void makePrivate(int descriptor) noexcept;

/// open() with these flags and O_CLOEXEC, then makePrivate(). Returns the descriptor, or -1 with errno set.
int openPrivateFile(const std::filesystem::path& file, int flags) noexcept;

/// Creates the folder and all missing ones above it, each with the mode 0700. One that exists keeps its mode.
/// A failure is not reported: creating a file in the folder then fails with the reason.
void createPrivateFolder(const std::filesystem::path& folder);

#pragma once

/// From now on this process, with all its threads, makes only system calls that computing and reading files
/// need (seccomp mode 2): no file is opened for writing or changed, there is no network and no new process,
/// and nobody but this process is signalled, neither directly nor by a descriptor that is set up to signal.
/// A call that is not known answers ENOSYS, as on a kernel that does not have it.
///
/// Throws std::system_error when the kernel has no such filters; then nothing has changed.
void filterSystemCalls();

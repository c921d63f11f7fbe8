#pragma once

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <sys/wait.h>

/// What a test of child processes must not leave behind.

/// Whether this process has a child, running or not yet reaped.
inline bool hasChild() {
    return ::waitid(P_ALL, 0, nullptr, WEXITED | WNOHANG | WNOWAIT) == 0 || errno != ECHILD;
}

/// How many descriptors this process has open.
inline std::size_t openDescriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

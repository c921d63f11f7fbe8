#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

/// The most that a process may use.
struct ProcessBounds {
    std::uint64_t memory;               ///< bytes of address space; more is refused as when memory runs out
    std::chrono::seconds processorTime; ///< of all its threads together; then SIGXCPU ends it
};

/// Shuts this process in before it reads a file that may be made to do harm. From now on it
///
///   - opens files for reading only, of the user's only those in `readable`, which are files and folders with
///   all
///     below them (see restrictReading), and changes, makes and removes none;
///   - has no network, nor any other connection than those that are open already;
///   - starts no program and no process (threads it does), and signals nobody but itself;
///   - stays within the bounds, and leaves no core file, which would hold what was said.
///
/// There is no way back. Needs no privileges, and holds in containers and chroots as well. Call it before the
/// first thread. What the kernel does not offer is left out: a sentence for each such thing comes back.
std::vector<std::string> enterSandbox(const ProcessBounds& bounds,
                                      std::span<const std::filesystem::path> readable);

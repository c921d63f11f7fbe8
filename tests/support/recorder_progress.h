#pragma once

#include <atomic>
#include <cstdint>

/// Memory that a recording program and the test that kills it have in common. A new file of zeros is a valid
/// beginning.
struct RecorderProgress {
    static constexpr int mostFiles = 4096;
    /// The file being recorded; files are named 0.m4a, 1.m4a and so on.
    std::atomic<std::int32_t> file;
    /// Frames that were handed over to each file.
    std::atomic<std::int64_t> frames[mostFiles];
};
static_assert(std::atomic<std::int64_t>::is_always_lock_free);

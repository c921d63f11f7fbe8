#pragma once

#include <cstddef>
#include <string>

/// Counts what a real-time callback may not do, by standing in for the C library's functions in the test
/// program that links it: allocating, locking, waiting, calling the system. A stream's process callback is
/// watched from its first instruction to its last. One at a time.
class RealTimeWatch {
  public:
    /// Counting begins.
    RealTimeWatch();
    ~RealTimeWatch() = default;
    RealTimeWatch(const RealTimeWatch&) = delete;
    RealTimeWatch& operator=(const RealTimeWatch&) = delete;

    /// What this thread does between these two counts; stream callbacks are enclosed by themselves.
    static void enter();
    static void leave();

    std::size_t callbacks() const;
    std::size_t semaphorePosts() const;
    std::size_t forbiddenCalls() const;
    /// The name of the first forbidden function that was called; empty when there was none.
    std::string firstForbidden() const;
};

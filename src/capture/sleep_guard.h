#pragma once

#include <chrono>
#include <functional>

/// Port: while a recording runs the computer does not go to sleep for want of use, and when it goes to sleep
/// all the same, as when the lid is closed, the recording is made safe first. It goes on by itself
/// afterwards: the monotonic clock stands still meanwhile. Where the system offers no such thing, that is one
/// line in the debug log and the recording goes on without.
///
/// start and stop: one thread at a time, not from `beforeSleep`.
class SleepGuard {
  public:
    virtual ~SleepGuard() = default;

    /// What `beforeSleep` may take: the system waits for five seconds.
    static constexpr std::chrono::milliseconds patience{4000};

    /// Returns at once. `beforeSleep` runs on a thread of the guard's, each time before the computer sleeps,
    /// and must not throw.
    virtual void start(std::function<void()> beforeSleep) = 0;
    /// After it returns `beforeSleep` neither runs nor will run, and the computer may sleep as it likes.
    virtual void stop() = 0;
};

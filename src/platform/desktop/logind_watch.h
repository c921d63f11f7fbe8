#pragma once

#include "platform/desktop/bus_handles.h"
#include "platform/posix/file_handle.h"

#include <functional>
#include <stop_token>
#include <string>

/// The conversation with logind, from the taking of its locks to their release. One thread's.
///
/// A lock is held as long as its descriptor is open. PrepareForSleep(true) comes before the computer sleeps,
/// which then waits for locks that delay; PrepareForSleep(false) comes after it
/// (https://systemd.io/INHIBITOR_LOCKS).
class LogindWatch {
  public:
    /// `beforeSleep` outlives this.
    explicit LogindWatch(const std::function<void()>& beforeSleep) : m_beforeSleep(beforeSleep) {}
    ~LogindWatch() = default;
    LogindWatch(const LogindWatch&) = delete;
    LogindWatch& operator=(const LogindWatch&) = delete;

    /// Until the stop is requested. Whatever goes wrong is one line in the log.
    void run(const std::stop_token& stop);

  private:
    /// Held, asked for, or neither.
    struct Lock {
        const char* what;
        const char* mode;
        BusSlotHandle call = nullptr;
        FileHandle held = {};
    };

    void talk(int wake, const std::stop_token& stop);
    void waitForWork(int wake);
    void complain(const std::string& reason);

    // In handlers of the bus, too, from which nothing may be thrown.
    template <Lock LogindWatch::* lock>
    void take() noexcept;
    void keep(Lock& lock, sd_bus_message* reply) noexcept;
    void prepareForSleep(sd_bus_message* signal) noexcept;

    const std::function<void()>& m_beforeSleep;
    BusHandle m_bus;
    BusSlotHandle m_signal;
    Lock m_sleep{"sleep", "delay"};
    Lock m_idle{"idle", "block"};
    bool m_goingToSleep = false;
    bool m_hasComplained = false;
};

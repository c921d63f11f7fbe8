#pragma once

#include "capture/sleep_guard.h"

#include <thread>

/// The guard of a system with logind (org.freedesktop.login1), found on the system bus: at
/// DBUS_SYSTEM_BUS_ADDRESS or in its usual place. Holds logind's inhibitor locks "sleep", which delays, and
/// "idle", which blocks.
class LogindSleepGuard final : public SleepGuard {
  public:
    LogindSleepGuard() = default;
    ~LogindSleepGuard() override = default;
    LogindSleepGuard(const LogindSleepGuard&) = delete;
    LogindSleepGuard& operator=(const LogindSleepGuard&) = delete;

    void start(std::function<void()> beforeSleep) override;
    void stop() override;

  private:
    std::jthread m_thread; // talks to logind
};

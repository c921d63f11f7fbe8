#pragma once

#include <chrono>
#include <csignal>

/// Holds SIGINT, SIGTERM and SIGHUP back, in this thread and in those that it starts later, so that the
/// program ends when and how it wants to. Make it before any thread. For good: a second signal, while files
/// are being closed or in the last moments of main, tears nothing.
class TerminationSignals {
  public:
    TerminationSignals();
    ~TerminationSignals() = default;
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

    /// Waits for one of them; false when none came in time.
    bool wait(std::chrono::nanoseconds atMost);
    /// For those who wait for them in another way.
    const sigset_t& set() const { return m_signals; }

  private:
    sigset_t m_signals{};
};

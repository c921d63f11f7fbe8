#pragma once

#include "platform/posix/file_handle.h"

#include <QSocketNotifier>
#include <csignal>
#include <functional>
#include <optional>

/// Hears of signals that are blocked in every thread, on the event loop of the thread that makes it.
class TerminationNotifier {
  public:
    /// `onSignal` runs for each signal of the set, also for those that came before. Throws Error "posix".
    TerminationNotifier(const sigset_t& signals, std::function<void()> onSignal);

  private:
    void takeSignals();

    const std::function<void()> m_onSignal;
    FileHandle m_handle;
    std::optional<QSocketNotifier> m_notifier;
};

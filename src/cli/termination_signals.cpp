#include "cli/termination_signals.h"

#include <algorithm>
#include <cerrno>
#include <ctime>

TerminationSignals::TerminationSignals() {
    sigemptyset(&m_signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&m_signals, signal);
    pthread_sigmask(SIG_BLOCK, &m_signals, nullptr);
}

bool TerminationSignals::wait(std::chrono::nanoseconds atMost) {
    const auto end = std::chrono::steady_clock::now() + atMost;
    for (;;) {
        const auto left = std::max(end - std::chrono::steady_clock::now(), std::chrono::nanoseconds(0));
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
        const timespec timeout{seconds.count(), (left - seconds).count()};
        if (sigtimedwait(&m_signals, nullptr, &timeout) > 0) return true;
        if (errno != EINTR) return false;
    }
}

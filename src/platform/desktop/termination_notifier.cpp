#include "platform/desktop/termination_notifier.h"

#include "base/error.h"

#include <cerrno>
#include <sys/signalfd.h>
#include <unistd.h>
#include <utility>

TerminationNotifier::TerminationNotifier(const sigset_t& signals, std::function<void()> onSignal)
    : m_onSignal(std::move(onSignal)), m_handle(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK)) {
    if (!m_handle) throw Error::posix(errno);
    m_notifier.emplace(m_handle.get(), QSocketNotifier::Read);
    QObject::connect(&*m_notifier, &QSocketNotifier::activated, [this] { takeSignals(); });
}

void TerminationNotifier::takeSignals() {
    signalfd_siginfo signal{};
    while (read(m_handle.get(), &signal, sizeof signal) == sizeof signal) m_onSignal();
}

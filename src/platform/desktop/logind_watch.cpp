#include "platform/desktop/logind_watch.h"

#include "base/debug_log.h"
#include "base/error.h"

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>

namespace {

constexpr const char* service = "org.freedesktop.login1";
constexpr const char* object = "/org/freedesktop/login1";
constexpr const char* manager = "org.freedesktop.login1.Manager";

int checked(int result) {
    if (result < 0) throw Error::posix(-result);
    return result;
}

/// sd-bus tells times as microseconds of the monotonic clock.
timespec timeUntil(std::uint64_t microseconds) {
    using namespace std::chrono;
    const auto now = duration_cast<std::chrono::microseconds>(steady_clock::now().time_since_epoch());
    const std::int64_t left = static_cast<std::int64_t>(microseconds) - now.count();
    if (left <= 0) return {0, 0};
    return {left / 1'000'000, left % 1'000'000 * 1000};
}

void waitFor(int descriptor) {
    pollfd each{descriptor, POLLIN, 0};
    while (poll(&each, 1, -1) < 0 && errno == EINTR) {
    }
}

} // namespace

void LogindWatch::run(const std::stop_token& stop) {
    const FileHandle wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!wake) return complain(Error::posix(errno).localizedDescription());
    const std::stop_callback onStop(stop, [&wake] { eventfd_write(wake.get(), 1); });
    try {
        talk(wake.get(), stop);
    } catch (const Error& error) {
        complain(error.localizedDescription());
        m_sleep.held.close(); // nobody would tell us any more when to let go
        waitFor(wake.get());  // what was granted against idling still holds
    }
}

void LogindWatch::talk(int wake, const std::stop_token& stop) {
    sd_bus* bus = nullptr;
    checked(sd_bus_open_system(&bus));
    m_bus.reset(bus);
    sd_bus_slot* slot = nullptr;
    checked(sd_bus_match_signal_async(
        bus, &slot, service, object, manager, "PrepareForSleep",
        [](sd_bus_message* signal, void* watch, sd_bus_error*) noexcept {
            static_cast<LogindWatch*>(watch)->prepareForSleep(signal);
            return 0;
        },
        nullptr, this));
    m_signal.reset(slot);
    take<&LogindWatch::m_sleep>();
    take<&LogindWatch::m_idle>();
    while (!stop.stop_requested())
        if (checked(sd_bus_process(bus, nullptr)) == 0) waitForWork(wake);
}

void LogindWatch::waitForWork(int wake) {
    pollfd both[] = {{checked(sd_bus_get_fd(m_bus.get())), 0, 0}, {wake, POLLIN, 0}};
    both[0].events = static_cast<short>(checked(sd_bus_get_events(m_bus.get())));
    std::uint64_t until = 0;
    checked(sd_bus_get_timeout(m_bus.get(), &until));
    const timespec left = timeUntil(until);
    if (ppoll(both, 2, until == UINT64_MAX ? nullptr : &left, nullptr) < 0 && errno != EINTR)
        throw Error::posix(errno);
}

template <LogindWatch::Lock LogindWatch::* lock>
void LogindWatch::take() noexcept {
    sd_bus_slot* slot = nullptr;
    const int result = sd_bus_call_method_async(
        m_bus.get(), &slot, service, object, manager, "Inhibit",
        [](sd_bus_message* reply, void* data, sd_bus_error*) noexcept {
            auto* const watch = static_cast<LogindWatch*>(data);
            watch->keep(watch->*lock, reply);
            return 0;
        },
        this, "ssss", (this->*lock).what, "Murmelo", "A recording is running", (this->*lock).mode);
    (this->*lock).call.reset(slot);
    if (result < 0) complain(Error::posix(-result).localizedDescription());
}

void LogindWatch::keep(Lock& lock, sd_bus_message* reply) noexcept {
    const bool tooLate = m_goingToSleep && &lock == &m_sleep; // taken again afterwards
    if (const sd_bus_error* const error = sd_bus_message_get_error(reply)) {
        if (!tooLate) complain(error->message != nullptr ? error->message : error->name);
        return;
    }
    int descriptor = -1; // the message's own
    const int result = sd_bus_message_read(reply, "h", &descriptor);
    if (result < 0) return complain(Error::posix(-result).localizedDescription());
    if (tooLate) return;
    lock.held = FileHandle(fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
    if (!lock.held) complain(Error::posix(errno).localizedDescription());
}

void LogindWatch::prepareForSleep(sd_bus_message* signal) noexcept {
    int begins = 0;
    if (sd_bus_message_read(signal, "b", &begins) < 0) return;
    m_goingToSleep = begins != 0;
    if (m_goingToSleep) {
        m_beforeSleep();
        m_sleep.held.close();
    } else if (!m_sleep.held) {
        take<&LogindWatch::m_sleep>();
    }
}

void LogindWatch::complain(const std::string& reason) {
    if (std::exchange(m_hasComplained, true)) return;
    DebugLog::log("[rec] recording without protection from sleep: " + reason);
}

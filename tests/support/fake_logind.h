#pragma once

#include "platform/posix/file_handle.h"
#include "support/bus_service.h"
#include "support/private_bus.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <string>
#include <unistd.h>
#include <vector>

/// Gives out inhibitor locks and says that the computer goes to sleep. Does its work on the caller's thread,
/// in `until`.
class FakeLogind {
  public:
    /// What was asked for, in order.
    struct Inhibition {
        std::string what, who, why, mode;
        FileHandle ourEnd = {};

        /// As long as the other side has its end open.
        bool held() const {
            pollfd end{ourEnd.get(), 0, 0};
            return poll(&end, 1, 0) == 0;
        }
    };

    explicit FakeLogind(const std::string& address) : m_service(address) {
        static const sd_bus_vtable methods[] = {SD_BUS_VTABLE_START(0),
                                                SD_BUS_METHOD("Inhibit", "ssss", "h", &onInhibit, 0),
                                                SD_BUS_SIGNAL("PrepareForSleep", "b", 0), SD_BUS_VTABLE_END};
        check(sd_bus_add_object_vtable(m_service.get(), nullptr, path, interface, methods, this));
        check(sd_bus_request_name(m_service.get(), "org.freedesktop.login1", 0));
    }

    bool refuses = false;
    std::vector<Inhibition> inhibitions;

    const Inhibition* last(const std::string& what) const {
        const auto found = std::find_if(inhibitions.rbegin(), inhibitions.rend(),
                                        [&](const Inhibition& each) { return each.what == what; });
        return found == inhibitions.rend() ? nullptr : &*found;
    }
    bool holds(const std::string& what) const {
        const Inhibition* const found = last(what);
        return found != nullptr && found->held();
    }
    void prepareForSleep(bool begins) {
        check(sd_bus_emit_signal(m_service.get(), path, interface, "PrepareForSleep", "b", begins ? 1 : 0));
        check(sd_bus_flush(m_service.get()));
    }

    /// Works until the condition holds; false when that takes too long.
    bool until(const std::function<bool()>& condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) return false;
            if (check(sd_bus_process(m_service.get(), nullptr)) == 0)
                check(sd_bus_wait(m_service.get(), 2000));
        }
        return true;
    }

  private:
    static constexpr const char* path = "/org/freedesktop/login1";
    static constexpr const char* interface = "org.freedesktop.login1.Manager";

    static int check(int result) { return BusService::check(result); }

    static int onInhibit(sd_bus_message* call, void* data, sd_bus_error* error) {
        auto* const self = static_cast<FakeLogind*>(data);
        const char *what = nullptr, *who = nullptr, *why = nullptr, *mode = nullptr;
        check(sd_bus_message_read(call, "ssss", &what, &who, &why, &mode));
        Inhibition& made = self->inhibitions.emplace_back(Inhibition{what, who, why, mode});
        if (self->refuses) return sd_bus_error_set(error, SD_BUS_ERROR_ACCESS_DENIED, "Permission denied");
        int ends[2];
        check(pipe2(ends, O_CLOEXEC));
        made.ourEnd = FileHandle(ends[0]);
        const FileHandle theirEnd(ends[1]);
        return sd_bus_reply_method_return(call, "h", theirEnd.get());
    }

    BusService m_service;
};

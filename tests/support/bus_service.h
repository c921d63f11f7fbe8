#pragma once

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <systemd/sd-bus.h>
#include <thread>

/// A test's side of a message bus: offers one object under a name. One thread at a time.
class BusService {
  public:
    /// Waits until the bus has begun to listen.
    explicit BusService(const std::string& address) {
        for (int tries = 0;; ++tries) {
            sd_bus* bus = nullptr;
            check(sd_bus_new(&bus));
            m_bus.reset(bus);
            check(sd_bus_set_address(bus, address.c_str()));
            check(sd_bus_set_bus_client(bus, 1));
            check(sd_bus_negotiate_fds(bus, 1));
            if (sd_bus_start(bus) >= 0) return;
            if (tries > 5000) throw std::runtime_error("there is no bus");
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    }

    /// `interface` is the object's interface as well as the service's name.
    void offer(const char* interface, const char* path, const sd_bus_vtable* members, void* self) {
        check(sd_bus_add_object_vtable(get(), nullptr, path, interface, members, self));
        check(sd_bus_request_name(get(), interface, 0));
    }
    /// Answers what there is to answer, or waits for a tenth of a second.
    void workForAMoment() {
        if (check(sd_bus_process(get(), nullptr)) == 0) check(sd_bus_wait(get(), 100'000));
    }
    sd_bus* get() const { return m_bus.get(); }

    static int check(int result) {
        if (result < 0) throw std::runtime_error("test's bus: error " + std::to_string(-result));
        return result;
    }

  private:
    struct Close {
        void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    };
    std::unique_ptr<sd_bus, Close> m_bus;
};

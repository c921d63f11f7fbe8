#pragma once

#include "support/bus_service.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

/// Says on a bus whether the connection is metered, from a thread of its own.
class FakeNetworkManager {
  public:
    FakeNetworkManager(const std::string& address, std::uint32_t metered)
        : m_service(address), m_metered(metered) {
        static const sd_bus_vtable properties[] = {
            SD_BUS_VTABLE_START(0), SD_BUS_PROPERTY("Metered", "u", &onGet, 0, 0), SD_BUS_VTABLE_END};
        m_service.offer("org.freedesktop.NetworkManager", "/org/freedesktop/NetworkManager", properties,
                        this);
        m_thread = std::jthread([this](const std::stop_token& stop) {
            while (!stop.stop_requested()) m_service.workForAMoment();
        });
    }

    /// A value of NMMetered.
    void setMetered(std::uint32_t value) { m_metered = value; }

  private:
    static int onGet(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void* self,
                     sd_bus_error*) {
        return sd_bus_message_append(reply, "u", static_cast<FakeNetworkManager*>(self)->m_metered.load());
    }

    BusService m_service;
    std::atomic<std::uint32_t> m_metered;
    std::jthread m_thread; // last: it uses all of the above
};

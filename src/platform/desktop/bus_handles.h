#pragma once

#include <memory>
#include <systemd/sd-bus.h>

struct BusDeleter {
    void operator()(sd_bus* bus) const noexcept { sd_bus_close_unref(bus); }
};
/// A connection to a message bus; closed without waiting for what is still on its way.
using BusHandle = std::unique_ptr<sd_bus, BusDeleter>;

struct BusSlotDeleter {
    void operator()(sd_bus_slot* slot) const noexcept { sd_bus_slot_unref(slot); }
};
/// A call that waits for its reply, or a subscription; without it the handler is not called any more.
using BusSlotHandle = std::unique_ptr<sd_bus_slot, BusSlotDeleter>;

struct BusMessageDeleter {
    void operator()(sd_bus_message* message) const noexcept { sd_bus_message_unref(message); }
};
using BusMessageHandle = std::unique_ptr<sd_bus_message, BusMessageDeleter>;

#include "platform/desktop/network_manager.h"

#include "platform/desktop/bus_handles.h"

#include <cstdint>

namespace {

constexpr const char* service = "org.freedesktop.NetworkManager";
constexpr const char* object = "/org/freedesktop/NetworkManager";
constexpr std::uint64_t patience = 5'000'000; // microseconds

// The values of NMMetered that mean so.
constexpr std::uint32_t yes = 1;
constexpr std::uint32_t guessedYes = 3;

} // namespace

bool isConnectionMetered() noexcept {
    sd_bus* connection = nullptr;
    if (sd_bus_open_system(&connection) < 0) return false;
    const BusHandle bus(connection);
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_method_call(bus.get(), &made, service, object, "org.freedesktop.DBus.Properties",
                                       "Get") < 0)
        return false;
    const BusMessageHandle call(made);
    sd_bus_message_set_auto_start(call.get(), 0); // a NetworkManager that does not run manages no connection
    if (sd_bus_message_append(call.get(), "ss", service, "Metered") < 0) return false;
    sd_bus_message* received = nullptr;
    if (sd_bus_call(bus.get(), call.get(), patience, nullptr, &received) < 0) return false;
    const BusMessageHandle answer(received);
    std::uint32_t metered = 0;
    if (sd_bus_message_read(answer.get(), "v", "u", &metered) < 0) return false;
    return metered == yes || metered == guessedYes;
}

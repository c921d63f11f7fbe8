#include "platform/desktop/network_manager.h"

#include "support/environment.h"
#include "support/fake_network_manager.h"
#include "support/private_bus.h"

#include <gtest/gtest.h>

namespace {

TEST(NetworkManager, AConnectionIsMeteredWhenItSaysOrGuessesSo) {
    const PrivateBus bus;
    const ScopedEnvironment address("DBUS_SYSTEM_BUS_ADDRESS", bus.address());
    FakeNetworkManager manager(bus.address(), 0);
    // unknown, yes, no, guessed yes, guessed no (NMMetered)
    for (const auto& [value, isMetered] :
         {std::pair(0U, false), {1U, true}, {2U, false}, {3U, true}, {4U, false}, {5U, false}}) {
        manager.setMetered(value);
        EXPECT_EQ(isConnectionMetered(), isMetered) << value;
    }
}

TEST(NetworkManager, WithoutItNoConnectionIsMetered) {
    const PrivateBus bus;
    const ScopedEnvironment address("DBUS_SYSTEM_BUS_ADDRESS", bus.address());
    {
        const BusService listening(bus.address());
    }
    EXPECT_FALSE(isConnectionMetered());
}

TEST(NetworkManager, WithoutASystemBusNoConnectionIsMetered) {
    const ScopedEnvironment address("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    EXPECT_FALSE(isConnectionMetered());
}

} // namespace

#pragma once

/// Whether NetworkManager says, or guesses, that the user pays for what is transferred over the connection to
/// the internet (property Metered of org.freedesktop.NetworkManager on the system bus, at
/// DBUS_SYSTEM_BUS_ADDRESS or in its usual place). False where nobody says so. Any thread; blocks until the
/// answer, 5 s at most.
bool isConnectionMetered() noexcept;

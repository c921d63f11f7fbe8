#include "platform/desktop/activation_token.h"

#include "support/environment.h"

#include <QByteArray>
#include <algorithm>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* name = "XDG_ACTIVATION_TOKEN";

/// The entries that a thread may be reading.
std::vector<const char*> otherEntries() {
    std::vector<const char*> entries;
    for (char** entry = environ; *entry != nullptr; ++entry)
        if (!QByteArray(*entry).startsWith(name)) entries.push_back(*entry);
    return entries;
}

/// What Qt and the desktop do for as long as the program runs. Returns whether the list stays where it is and
/// its other entries keep their places.
[[maybe_unused]] bool othersKeepTheirPlaces() {
    char** const list = environ;
    const std::vector<const char*> before = otherEntries();
    bool stays = true;
    const auto look = [&] {
        stays = stays && environ == list && std::equal(before.begin(), before.end(), environ);
    };
    for (const char* token : {"a", "one that is longer than any other", "b"}) {
        qputenv(name, token);
        look();
        qputenv(name, QByteArray("another after ") + token);
        look();
        qunsetenv(name);
        look();
    }
    return stays;
}

TEST(ActivationToken, ThatWasGivenStaysAndMovesNoOtherVariable) {
    const ScopedEnvironment token(name, "given");
    const ScopedEnvironment later("MURMELO_TEST_LATER", "1");
    reserveActivationToken();
    EXPECT_EQ(qgetenv(name), "given");
#ifndef __SANITIZE_ADDRESS__ // whose realloc() always moves
    EXPECT_TRUE(othersKeepTheirPlaces());
#endif
}

TEST(ActivationToken, ThatWasNotGivenIsNotSetAndMovesNoOtherVariable) {
    const ScopedEnvironment token(name, std::nullopt);
    reserveActivationToken();
    EXPECT_FALSE(qEnvironmentVariableIsSet(name));
#ifndef __SANITIZE_ADDRESS__
    EXPECT_TRUE(othersKeepTheirPlaces());
#endif
}

} // namespace

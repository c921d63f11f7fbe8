#pragma once

#include <functional>
#include <optional>
#include <string>

/// The unattended self-tests that the environment asks for. Each logs its result and ends the process with
/// status 0.
struct SelfTests {
    bool diagnostic = false;                           ///< TAPDECK_DIAG is exactly "1"
    std::optional<std::string> transcribedFolder = {}; ///< the value of TAPDECK_TS, which may be empty
    bool captureCheck = false;                         ///< TAPDECK_CHECK is exactly "1"

    /// With at least one of them the program has no tray icon and no name on the session bus, and runs
    /// beside a Murmelo that is there already.
    bool any() const { return diagnostic || transcribedFolder || captureCheck; }

    bool operator==(const SelfTests&) const = default;
};

/// A variable's value; nothing when it is not set.
using Environment = std::function<std::optional<std::string>(const char* name)>;

/// Any thread from which the environment may be read.
SelfTests selfTestsIn(const Environment& environment);

/// The environment of this process.
std::optional<std::string> environmentVariable(const char* name);

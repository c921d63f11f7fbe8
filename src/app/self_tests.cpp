#include "app/self_tests.h"

#include <cstdlib>

SelfTests selfTestsIn(const Environment& environment) {
    return {.diagnostic = environment("TAPDECK_DIAG") == "1",
            .transcribedFolder = environment("TAPDECK_TS"),
            .captureCheck = environment("TAPDECK_CHECK") == "1"};
}

std::optional<std::string> environmentVariable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

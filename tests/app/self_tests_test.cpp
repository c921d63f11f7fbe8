#include "app/self_tests.h"

#include "support/environment.h"

#include <gtest/gtest.h>
#include <map>

namespace {

SelfTests with(const std::map<std::string, std::string>& variables) {
    return selfTestsIn([&](const char* name) -> std::optional<std::string> {
        const auto found = variables.find(name);
        return found != variables.end() ? std::optional(found->second) : std::nullopt;
    });
}

TEST(SelfTestsTest, WithoutVariablesThereAreNone) {
    EXPECT_EQ(with({}), SelfTests());
    EXPECT_FALSE(with({}).any());
}

TEST(SelfTestsTest, OnlyExactlyOneEnablesTheDiagnosticAndTheCheck) {
    for (const char* value : {"", "0", "true", "01", "1 ", "yes"})
        EXPECT_FALSE(with({{"TAPDECK_DIAG", value}, {"TAPDECK_CHECK", value}}).any()) << value;
    EXPECT_EQ(with({{"TAPDECK_DIAG", "1"}}), (SelfTests{.diagnostic = true}));
    EXPECT_TRUE(with({{"TAPDECK_DIAG", "1"}}).any());
    EXPECT_EQ(with({{"TAPDECK_CHECK", "1"}}), (SelfTests{.captureCheck = true}));
    EXPECT_TRUE(with({{"TAPDECK_CHECK", "1"}}).any());
}

TEST(SelfTestsTest, AnyValueEnablesTheTranscription) {
    for (const char* value : {"", "0", "/recordings/one"}) {
        EXPECT_EQ(with({{"TAPDECK_TS", value}}), (SelfTests{.transcribedFolder = value}));
        EXPECT_TRUE(with({{"TAPDECK_TS", value}}).any()) << value;
    }
}

TEST(SelfTestsTest, TheEnvironmentOfTheProcessIsRead) {
    const ScopedEnvironment set("TAPDECK_TS", "");
    EXPECT_EQ(environmentVariable("TAPDECK_TS"), "");
    const ScopedEnvironment unset("TAPDECK_TS", std::nullopt);
    EXPECT_EQ(environmentVariable("TAPDECK_TS"), std::nullopt);
}

} // namespace

#include "platform/desktop/logind_sleep_guard.h"

#include "support/environment.h"
#include "support/fake_logind.h"
#include "support/log_capture.h"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <optional>

namespace {

using Lines = std::vector<std::string>;

/// What this process has open, by number.
std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

class LogindSleepGuardTest : public testing::Test {
  protected:
    void start() {
        guard.start([this] { ++runs; });
        ASSERT_TRUE(logind.until([this] { return logind.holds("sleep") && logind.holds("idle"); }));
    }

    LogCapture log;
    PrivateBus bus;
    ScopedEnvironment address{"DBUS_SYSTEM_BUS_ADDRESS", bus.address()};
    FakeLogind logind{bus.address()};
    std::atomic<int> runs = 0;
    LogindSleepGuard guard;
};

TEST_F(LogindSleepGuardTest, TakesBothLocksAndSaysForWhom) {
    start();
    ASSERT_EQ(logind.inhibitions.size(), 2U);
    EXPECT_EQ(logind.last("sleep")->mode, "delay");
    EXPECT_EQ(logind.last("idle")->mode, "block");
    for (const auto& each : logind.inhibitions) {
        EXPECT_EQ(each.who, "Murmelo");
        EXPECT_EQ(each.why, "A recording is running");
    }
    EXPECT_TRUE(log.messages().empty());
}

TEST_F(LogindSleepGuardTest, StopReleasesBoth) {
    start();
    guard.stop();
    EXPECT_TRUE(logind.until([this] { return !logind.holds("sleep") && !logind.holds("idle"); }));
    EXPECT_EQ(runs, 0);
}

TEST_F(LogindSleepGuardTest, LeavesNothingOpen) {
    const std::ptrdiff_t before = openDescriptors();
    start();
    logind.prepareForSleep(true);
    ASSERT_TRUE(logind.until([this] { return !logind.holds("sleep"); }));
    logind.prepareForSleep(false);
    ASSERT_TRUE(logind.until([this] { return logind.holds("sleep"); }));
    guard.stop();
    logind.inhibitions.clear();
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(LogindSleepGuardTest, CanGuardAgain) {
    for (int i = 0; i < 3; ++i) {
        start();
        guard.stop();
        logind.inhibitions.clear();
    }
}

TEST_F(LogindSleepGuardTest, StopDoesNotWaitForLogindsAnswer) {
    for (int i = 0; i < 50; ++i) {
        guard.start([this] { ++runs; });
        guard.stop();
    }
    EXPECT_TRUE(log.messages().empty());
}

TEST_F(LogindSleepGuardTest, SleepWaitsUntilTheWorkIsDone) {
    std::promise<void> entered;
    std::promise<void> allowed;
    guard.start([&] {
        entered.set_value();
        allowed.get_future().wait();
    });
    ASSERT_TRUE(logind.until([this] { return logind.holds("sleep") && logind.holds("idle"); }));
    logind.prepareForSleep(true);
    entered.get_future().wait();
    EXPECT_TRUE(logind.holds("sleep"));
    allowed.set_value();
    EXPECT_TRUE(logind.until([this] { return !logind.holds("sleep"); }));
    EXPECT_TRUE(logind.holds("idle"));
}

TEST_F(LogindSleepGuardTest, EverySleepIsGuarded) {
    start();
    for (int sleep = 1; sleep <= 3; ++sleep) {
        logind.prepareForSleep(true);
        ASSERT_TRUE(logind.until([this] { return !logind.holds("sleep"); }));
        EXPECT_EQ(runs, sleep);
        logind.prepareForSleep(false);
        ASSERT_TRUE(logind.until([this] { return logind.holds("sleep"); }));
        EXPECT_EQ(runs, sleep);
    }
    EXPECT_TRUE(log.messages().empty());
}

TEST_F(LogindSleepGuardTest, StopDuringTheWorkWaitsForItAndReleases) {
    std::promise<void> entered;
    std::promise<void> allowed;
    std::atomic<bool> done = false;
    guard.start([&] {
        entered.set_value();
        allowed.get_future().wait();
        done = true;
    });
    ASSERT_TRUE(logind.until([this] { return logind.holds("sleep"); }));
    logind.prepareForSleep(true);
    entered.get_future().wait();
    auto stopped = std::async(std::launch::async, [&] {
        guard.stop();
        return done.load();
    });
    allowed.set_value();
    EXPECT_TRUE(stopped.get());
    EXPECT_FALSE(logind.holds("sleep"));
}

TEST_F(LogindSleepGuardTest, RefusalIsOneLineInTheLog) {
    logind.refuses = true;
    guard.start([this] { ++runs; });
    ASSERT_TRUE(logind.until([this] { return logind.inhibitions.size() == 2 && !log.messages().empty(); }));
    // It still hears of the sleep: a refused lock may be too late, but costs nothing.
    logind.prepareForSleep(true);
    EXPECT_TRUE(logind.until([this] { return runs == 1; }));
    guard.stop();
    EXPECT_EQ(log.messages(), Lines{"[rec] recording without protection from sleep: Permission denied"});
}

TEST_F(LogindSleepGuardTest, BusThatEndsInTheMiddleIsOneLineInTheLog) {
    start();
    bus.end();
    while (log.messages().empty()) std::this_thread::yield();
    guard.stop();
    ASSERT_EQ(log.messages().size(), 1U);
    EXPECT_TRUE(log.messages().front().starts_with("[rec] recording without protection from sleep: "));
    EXPECT_FALSE(logind.holds("idle"));
}

TEST(LogindSleepGuardAlone, MissingLogindIsOneLineInTheLog) {
    LogCapture log;
    PrivateBus bus;
    ScopedEnvironment address("DBUS_SYSTEM_BUS_ADDRESS", bus.address());
    std::optional<FakeLogind> logind(bus.address()); // the bus listens now
    LogindSleepGuard guard;
    logind.reset();
    guard.start([] {});
    while (log.messages().empty()) std::this_thread::yield();
    guard.stop();
    EXPECT_EQ(log.messages(),
              Lines{"[rec] recording without protection from sleep: The name org.freedesktop.login1 was not "
                    "provided by any .service files"});
}

TEST(LogindSleepGuardAlone, MissingBusIsOneLineInTheLog) {
    LogCapture log;
    ScopedEnvironment address("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    LogindSleepGuard guard;
    guard.start([] {});
    while (log.messages().empty()) std::this_thread::yield();
    guard.stop();
    EXPECT_EQ(log.messages(),
              Lines{"[rec] recording without protection from sleep: No such file or directory"});
}

TEST(LogindSleepGuardAlone, LogindThatDiesChangesNothing) {
    LogCapture log;
    PrivateBus bus;
    ScopedEnvironment address("DBUS_SYSTEM_BUS_ADDRESS", bus.address());
    std::optional<FakeLogind> logind(bus.address());
    LogindSleepGuard guard;
    guard.start([] {});
    ASSERT_TRUE(logind->until([&] { return logind->holds("sleep") && logind->holds("idle"); }));
    logind.reset();
    guard.stop();
    EXPECT_TRUE(log.messages().empty());
}

TEST(LogindSleepGuardAlone, StopWithoutStartDoesNothing) {
    LogindSleepGuard guard;
    guard.stop();
}

} // namespace

#include "transcription/with_timeout.h"

#include "base/thread_queue.h"
#include "support/manual_queue.h"

#include <future>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>

namespace {

using namespace std::chrono_literals;

/// The error with which the function ends.
template <typename Function>
std::optional<Error> errorOf(Function function) {
    try {
        function();
    } catch (const Error& error) {
        return error;
    }
    return std::nullopt;
}

void expectTimeout(const std::optional<Error>& error) {
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain(), "transcriber");
    EXPECT_EQ(error->code(), 2);
    EXPECT_EQ(error->localizedDescription(), "Transcription timed out.");
}

/// An operation that never ends by itself: steps on until it is asked to stop.
auto untilStopped(ManualQueue& timers, SerialQueue::Time step) {
    return [&timers, step](const std::stop_token& stop) -> int {
        while (!stop.stop_requested()) timers.advance(step);
        throw Error("engine", 1, "Recognition cancelled.");
    };
}

TEST(WithTimeout, ReturnsTheValueAfterOneSecondAndDoesNotWaitForTheTimer) {
    ManualQueue timers;
    const int value = withTimeout(180, timers, {}, [&](const std::stop_token&) {
        timers.advance(1s);
        return 42;
    });
    EXPECT_EQ(value, 42);
    EXPECT_EQ(timers.now(), 1s);
}

TEST(WithTimeout, OperationThatOnlyHonoursTheStopEndsAsATimeout) {
    ManualQueue timers;
    expectTimeout(errorOf([&] { withTimeout(180, timers, {}, untilStopped(timers, 1s)); }));
    EXPECT_EQ(timers.now(), 180s);
}

TEST(WithTimeout, OperationThatFailsAtOnceRethrowsItsOwnFailure) {
    ManualQueue timers;
    const auto error = errorOf([&] {
        withTimeout(180, timers, {},
                    [](const std::stop_token&) -> int { throw Error("engine", 7, "Broken."); });
    });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->printed(), "Error Domain=engine Code=7 \"Broken.\"");
}

TEST(WithTimeout, RethrowsFailuresOfAnyType) {
    ManualQueue timers;
    EXPECT_THROW(
        withTimeout(180, timers, {}, [](const std::stop_token&) -> int { throw std::out_of_range("index"); }),
        std::out_of_range);
}

TEST(WithTimeout, ErrorLeavesOnlyOnceTheOperationHasEnded) {
    ManualQueue timers;
    bool ended = false;
    expectTimeout(errorOf([&] {
        withTimeout(180, timers, {}, [&](const std::stop_token&) {
            timers.advance(200s);
            ended = true;
            return 1;
        });
    }));
    EXPECT_TRUE(ended);
    EXPECT_EQ(timers.now(), 200s);
}

TEST(WithTimeout, ValueThatComesTooLateIsATimeout) {
    ManualQueue timers;
    expectTimeout(errorOf([&] {
        withTimeout(1, timers, {}, [&](const std::stop_token&) {
            timers.advance(1s);
            return 1;
        });
    }));
}

TEST(WithTimeout, FractionsOfASecondAreCutToNanoseconds) {
    ManualQueue timers;
    expectTimeout(
        errorOf([&] { withTimeout(1.5000000009, timers, {}, untilStopped(timers, 1ns * 100000)); }));
    EXPECT_EQ(timers.now(), 1500ms);
}

TEST(WithTimeout, TimerThatIsLeftOverHoldsNothingOfTheOperationAndDoesNothing) {
    ManualQueue timers;
    auto held = std::make_shared<int>(7);
    const std::weak_ptr<int> watch = held;
    std::stop_token token;
    const auto value =
        withTimeout(180, timers, {}, [held = std::move(held), &token](const std::stop_token& stop) {
            token = stop;
            return held;
        });
    EXPECT_EQ(*value, 7);
    EXPECT_EQ(watch.use_count(), 1); // the value returned is the only owner
    EXPECT_FALSE(timers.idle());
    timers.advance(180s);
    EXPECT_FALSE(token.stop_requested());
}

TEST(WithTimeout, StopOfTheCallerReachesTheOperationAndLeavesItsOwnError) {
    ManualQueue timers;
    std::stop_source caller;
    const auto error = errorOf([&] {
        withTimeout(180, timers, caller.get_token(), [&](const std::stop_token& stop) -> int {
            EXPECT_FALSE(stop.stop_requested());
            caller.request_stop();
            EXPECT_TRUE(stop.stop_requested());
            throw Error("engine", 1, "Recognition cancelled.");
        });
    });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->localizedDescription(), "Recognition cancelled.");
}

TEST(WithTimeout, OperationStartsStoppedWhenTheCallerHasStopped) {
    ManualQueue timers;
    std::stop_source caller;
    caller.request_stop();
    EXPECT_TRUE(withTimeout(180, timers, caller.get_token(),
                            [](const std::stop_token& stop) { return stop.stop_requested(); }));
}

TEST(WithTimeout, TimeoutDoesNotStopTheCaller) {
    ManualQueue timers;
    std::stop_source caller;
    expectTimeout(errorOf([&] { withTimeout(3, timers, caller.get_token(), untilStopped(timers, 1s)); }));
    EXPECT_FALSE(caller.stop_requested());
}

TEST(WithTimeout, RunsTheOperationOnTheCallersThread) {
    ThreadQueue timers("timers");
    EXPECT_EQ(withTimeout(180, timers, {}, [](const std::stop_token&) { return std::this_thread::get_id(); }),
              std::this_thread::get_id());
}

TEST(WithTimeout, TimerWakesAnOperationThatWaitsOnAnotherThread) {
    ThreadQueue timers("timers");
    expectTimeout(errorOf([&] {
        withTimeout(0, timers, {}, [](const std::stop_token& stop) {
            std::promise<void> stopped;
            const std::stop_callback wake(stop, [&] { stopped.set_value(); });
            stopped.get_future().wait();
            return 1;
        });
    }));
}

TEST(WithTimeout, ExactlyOneSideWinsWhenBothEndAtOnce) {
    ThreadQueue timers("timers");
    for (int i = 0; i < 500; ++i) {
        std::stop_token token;
        const auto error = errorOf([&] {
            const int value = withTimeout(0, timers, {}, [&](const std::stop_token& stop) {
                token = stop;
                return i;
            });
            EXPECT_EQ(value, i);
        });
        timers.sync([] {}); // the timer's task has run
        ASSERT_EQ(error.has_value(), token.stop_requested());
    }
}

TEST(WithTimeoutDeathTest, TimesThatAreNoneAreProgrammingErrors) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ManualQueue timers;
    const auto run = [&](double seconds) {
        withTimeout(seconds, timers, {}, [](const std::stop_token&) { return 1; });
    };
    EXPECT_DEATH(run(-1), "");
    EXPECT_DEATH(run(std::numeric_limits<double>::quiet_NaN()), "");
    EXPECT_DEATH(run(std::numeric_limits<double>::infinity()), "");
    EXPECT_DEATH(run(2e10), "");
}

TEST(WithTimeout, LongestTimeStillRunsAfterACentury) {
    ManualQueue timers;
    EXPECT_EQ(withTimeout(longestTimeout, timers, {},
                          [&](const std::stop_token&) {
                              timers.advance(24h * 36500);
                              return 1;
                          }),
              1);
}

} // namespace

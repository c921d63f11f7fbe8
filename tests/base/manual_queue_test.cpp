#include "support/manual_queue.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using namespace std::chrono_literals;

TEST(ManualQueue, RunsNothingByItself) {
    ManualQueue queue;
    bool ran = false;
    queue.async([&] { ran = true; });
    EXPECT_FALSE(ran);
    queue.runAll();
    EXPECT_TRUE(ran);
    EXPECT_TRUE(queue.idle());
}

TEST(ManualQueue, DelayedTasksSeeTheirOwnTimeOnTheWay) {
    ManualQueue queue;
    std::vector<SerialQueue::Time> times;
    queue.asyncAfter(2s, [&] { times.push_back(queue.now()); });
    queue.asyncAfter(1s, [&] {
        times.push_back(queue.now());
        queue.asyncAfter(500ms, [&] { times.push_back(queue.now()); });
    });
    queue.advance(3s);
    EXPECT_EQ(times, (std::vector<SerialQueue::Time>{1s, 1500ms, 2s}));
    EXPECT_EQ(queue.now(), 3s);
}

TEST(ManualQueue, SyncRunsAfterWhatWasQueued) {
    ManualQueue queue;
    std::vector<int> order;
    queue.async([&] { order.push_back(1); });
    queue.sync([&] { order.push_back(2); });
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(ManualQueue, DetachedSourceIsDrainedOnceAndNeverAgain) {
    ManualQueue queue;
    int drains = 0;
    queue.attachSource([&] { ++drains; });
    queue.signalSource();
    queue.detachSource();
    queue.signalSource();
    queue.runAll();
    EXPECT_EQ(drains, 1);
}

} // namespace

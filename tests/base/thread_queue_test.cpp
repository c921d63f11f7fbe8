#include "base/thread_queue.h"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace std::chrono_literals;

TEST(ThreadQueue, RunsTasksInTheOrderInWhichTheyCame) {
    ThreadQueue queue("test");
    std::vector<int> order;
    for (int i = 0; i < 100; ++i) queue.async([&order, i] { order.push_back(i); });
    queue.sync([] {});
    ASSERT_EQ(order.size(), 100U);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST(ThreadQueue, TasksOfSeveralThreadsNeverOverlap) {
    ThreadQueue queue("test");
    std::atomic<int> running{0};
    std::atomic<int> overlaps{0};
    std::atomic<int> ran{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i)
                queue.async([&] {
                    if (running.fetch_add(1) != 0) ++overlaps;
                    ++ran;
                    --running;
                });
        });
    for (std::thread& thread : threads) thread.join();
    queue.sync([] {});
    EXPECT_EQ(overlaps, 0);
    EXPECT_EQ(ran, 800);
}

TEST(ThreadQueue, DestructionRunsWhatIsDueAndDropsWhatWaits) {
    int ran = 0;
    bool late = false;
    {
        ThreadQueue queue("test");
        for (int i = 0; i < 10; ++i) queue.async([&] { ++ran; });
        queue.asyncAfter(1h, [&] { late = true; });
    }
    EXPECT_EQ(ran, 10);
    EXPECT_FALSE(late);
}

TEST(ThreadQueue, DelayedTasksRunInTheOrderOfTheirTimes) {
    ThreadQueue queue("test");
    std::vector<int> order;
    std::promise<void> last;
    queue.asyncAfter(20ms, [&] {
        order.push_back(2);
        last.set_value();
    });
    queue.asyncAfter(1ms, [&] { order.push_back(1); });
    last.get_future().wait();
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(ThreadQueue, DelayedTaskNeverRunsBeforeItsTime) {
    ThreadQueue queue("test");
    std::promise<SerialQueue::Time> ran;
    const SerialQueue::Time before = queue.now();
    queue.asyncAfter(5ms, [&] { ran.set_value(queue.now()); });
    EXPECT_GE(ran.get_future().get() - before, 5ms);
}

TEST(ThreadQueue, SourceIsDrainedAfterEverySignal) {
    ThreadQueue queue("test");
    std::atomic<int> produced{0};
    int consumed = 0;
    std::promise<void> all;
    queue.attachSource([&] {
        const int before = std::exchange(consumed, produced.load());
        if (before < 1000 && consumed == 1000) all.set_value();
    });
    for (int i = 0; i < 1000; ++i) {
        ++produced;
        queue.signalSource();
    }
    all.get_future().wait();
    queue.detachSource();
    EXPECT_EQ(consumed, 1000);
}

TEST(ThreadQueue, DetachedSourceIsNeverCalledAgain) {
    ThreadQueue queue("test");
    std::atomic<bool> detached{false};
    std::atomic<bool> calledLate{false};
    queue.attachSource([&] { calledLate = calledLate || detached; });
    std::jthread producer([&](const std::stop_token& stop) {
        while (!stop.stop_requested()) queue.signalSource();
    });
    queue.detachSource();
    detached = true;
    producer.request_stop();
    producer.join();
    queue.sync([] {});
    EXPECT_FALSE(calledLate);
}

} // namespace

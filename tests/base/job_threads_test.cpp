#include "base/job_threads.h"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <memory>

TEST(JobThreadsTest, NoJobWaitsForAnother) {
    std::promise<void> second;
    std::promise<void> first;
    JobThreads jobs;
    jobs.async([&] {
        second.get_future().wait();
        first.set_value();
    });
    jobs.async([&] { second.set_value(); });
    first.get_future().wait();
}

TEST(JobThreadsTest, DestructionWaitsForEveryJob) {
    std::atomic<int> ended{0};
    {
        JobThreads jobs;
        for (int i = 0; i < 20; ++i) jobs.async([&] { ++ended; });
    }
    EXPECT_EQ(ended, 20);
}

TEST(JobThreadsTest, AJobMayStartAnother) {
    std::promise<void> done;
    JobThreads jobs;
    jobs.async([&] { jobs.async([&] { done.set_value(); }); });
    done.get_future().wait();
}

TEST(JobThreadsTest, DestructionWaitsForAJobThatAJobStarts) {
    std::promise<void> ending;
    std::atomic<bool> ended{false};
    {
        JobThreads jobs;
        jobs.async([&] {
            ending.get_future().wait();
            jobs.async([&] { ended = true; });
        });
        ending.set_value();
    }
    EXPECT_TRUE(ended);
}

TEST(JobThreadsTest, WhatATaskHoldsGoesWithIt) {
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = held;
    {
        JobThreads jobs;
        jobs.async([held = std::move(held)] {});
    }
    EXPECT_TRUE(watched.expired());
}

TEST(JobThreadsTest, ATaskThatEndsInTimeIsWaitedFor) {
    int ended = 0;
    bool late = false;
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = held;
    JobThreads jobs;
    EXPECT_TRUE(jobs.asyncAndWait([&, held = std::move(held)] { ++ended; }, std::chrono::minutes(1),
                                  [&] { late = true; }));
    EXPECT_EQ(ended, 1);
    EXPECT_FALSE(late);
    EXPECT_TRUE(watched.expired());
}

TEST(JobThreadsTest, ATaskThatTakesLongerGoesOnAndTellsItsEnd) {
    std::promise<void> mayEnd;
    std::promise<void> late;
    bool ended = false;
    JobThreads jobs;
    EXPECT_FALSE(jobs.asyncAndWait(
        [&] {
            mayEnd.get_future().wait();
            ended = true;
        },
        std::chrono::nanoseconds(1), [&] { late.set_value(); }));
    mayEnd.set_value();
    late.get_future().wait();
    EXPECT_TRUE(ended);
}

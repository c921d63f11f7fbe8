#include "platform/desktop/qt_main_queue.h"

#include <QCoreApplication>
#include <QThread>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

class QtMainQueueTest : public testing::Test {
  protected:
    /// Runs the event loop until a task ends it.
    static void run() { QCoreApplication::exec(); }
    static void end() { QCoreApplication::quit(); }

    int m_argc = 1;
    char m_name[5] = "test";
    char* m_argv[2] = {m_name, nullptr};
    QCoreApplication m_application{m_argc, m_argv};
    QtMainQueue m_queue;
};

TEST_F(QtMainQueueTest, TasksOfAnyThreadRunOnMainInTheirOrder) {
    std::vector<int> order;
    std::thread([&] {
        for (int i = 0; i < 100; ++i)
            m_queue.async([&, i] {
                EXPECT_EQ(QThread::currentThread(), QCoreApplication::instance()->thread());
                order.push_back(i);
            });
        m_queue.async(end);
    }).join();
    EXPECT_TRUE(order.empty());
    run();
    ASSERT_EQ(order.size(), 100U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST_F(QtMainQueueTest, DelayedTasksOfAnyThreadRunNotBeforeTheirTimeAndInItsOrder) {
    std::vector<int> order;
    const auto begin = m_queue.now();
    std::thread([&] {
        m_queue.asyncAfter(60ms, [&] {
            EXPECT_GE(m_queue.now() - begin, 60ms);
            order.push_back(2);
            end();
        });
        m_queue.asyncAfter(20ms, [&] {
            EXPECT_GE(m_queue.now() - begin, 20ms);
            order.push_back(1);
        });
    }).join();
    run();
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST_F(QtMainQueueTest, WhatWaitsGoesWithTheQueue) {
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = held;
    {
        QtMainQueue queue;
        queue.async([held = std::move(held)] { FAIL(); });
    }
    QCoreApplication::processEvents();
    EXPECT_TRUE(watched.expired());
}

} // namespace

#pragma once

#include "base/serial_queue.h"

#include <deque>
#include <map>
#include <utility>

/// A serial queue in virtual time: nothing runs until the test says so, on the test's thread.
class ManualQueue final : public SerialQueue {
  public:
    void async(Task task) override { m_tasks.push_back(std::move(task)); }
    void asyncAfter(Time delay, Task task) override { m_waiting.emplace(m_now + delay, std::move(task)); }
    void sync(const Task& task) override {
        runAll();
        task();
        runAll();
    }
    Time now() const override { return m_now; }
    void attachSource(Task drain) override { m_drain = std::move(drain); }
    void detachSource() override {
        runAll();
        m_drain = nullptr;
        m_signalled = false;
    }
    void signalSource() noexcept override { m_signalled = true; }

    /// Runs what is due, and what that queues.
    void runAll() {
        for (;;) {
            if (std::exchange(m_signalled, false) && m_drain) m_drain();
            while (!m_waiting.empty() && m_waiting.begin()->first <= m_now)
                m_tasks.push_back(std::move(m_waiting.extract(m_waiting.begin()).mapped()));
            if (m_tasks.empty()) return;
            const Task task = std::move(m_tasks.front());
            m_tasks.pop_front();
            task();
        }
    }

    /// Moves the clock, stopping at every waiting task on the way.
    void advance(Time by) {
        const Time target = m_now + by;
        runAll();
        while (!m_waiting.empty() && m_waiting.begin()->first <= target) {
            m_now = m_waiting.begin()->first;
            runAll();
        }
        m_now = target;
    }

    /// Moves the clock while nobody runs, as when the process is stopped.
    void standStill(Time by) { m_now += by; }

    /// Tasks that are due.
    std::size_t pending() const { return m_tasks.size(); }
    bool idle() const { return m_tasks.empty() && m_waiting.empty(); }

  private:
    Time m_now{0};
    std::deque<Task> m_tasks;
    std::multimap<Time, Task> m_waiting;
    Task m_drain;
    bool m_signalled = false;
};

#pragma once

#include "base/serial_queue.h"

#include <deque>
#include <map>
#include <mutex>
#include <semaphore.h>
#include <string>
#include <thread>

/// A serial queue with a thread of its own.
///
/// Destruction runs every task that is already due, drops those that still wait for their time, and joins the
/// thread.
class ThreadQueue final : public SerialQueue {
  public:
    /// `label` names the thread for debuggers; the system shows its first 15 bytes.
    explicit ThreadQueue(std::string label);
    ~ThreadQueue() override;
    ThreadQueue(const ThreadQueue&) = delete;
    ThreadQueue& operator=(const ThreadQueue&) = delete;

    void async(Task task) override;
    void asyncAfter(Time delay, Task task) override;
    void sync(const Task& task) override;
    Time now() const override;
    void attachSource(Task drain) override;
    void detachSource() override;
    void signalSource() noexcept override;

    const std::string& label() const { return m_label; }

  private:
    void run();
    void waitForWork();
    bool runDueTasks();

    const std::string m_label;
    sem_t m_wake; // counts reasons to look; posted by async, signalSource and the destructor
    std::mutex m_mutex;
    std::deque<Task> m_tasks;            // guarded by m_mutex
    std::multimap<Time, Task> m_waiting; // guarded by m_mutex; equal times keep their order
    bool m_ending = false;               // guarded by m_mutex
    Task m_drain;                        // touched by the queue's thread only
    std::thread m_thread;                // last: it uses all of the above
};

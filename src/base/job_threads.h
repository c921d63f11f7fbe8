#pragma once

#include "base/serial_queue.h"

#include <list>
#include <mutex>
#include <thread>

/// Gives each task a thread of its own, so that none waits for another.
///
/// Destruction waits for all of them: let what they wait for end first.
class JobThreads final : public Executor {
  public:
    JobThreads() = default;
    ~JobThreads() override;
    JobThreads(const JobThreads&) = delete;
    JobThreads& operator=(const JobThreads&) = delete;

    void async(Task task) override;

  private:
    struct Job {
        std::thread thread;
        bool ended = false;
    };

    void joinEnded();

    std::mutex m_mutex;
    std::list<Job> m_jobs; // guarded by m_mutex
};

#pragma once

#include "base/serial_queue.h"

#include <list>
#include <mutex>
#include <thread>

/// The jobs of a process. Destruction waits for all of them: let what they wait for end first.
class JobThreads final : public JobExecutor {
  public:
    JobThreads() = default;
    ~JobThreads() override;
    JobThreads(const JobThreads&) = delete;
    JobThreads& operator=(const JobThreads&) = delete;

    void async(Task task) override;
    bool asyncAndWait(Task task, std::chrono::nanoseconds atMost, Task whenLate) override;

  private:
    struct Job {
        std::thread thread;
        bool ended = false;
    };

    void joinEnded();

    std::mutex m_mutex;
    std::list<Job> m_jobs; // guarded by m_mutex
};

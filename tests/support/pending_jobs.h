#pragma once

#include "base/serial_queue.h"

#include <cstddef>
#include <utility>
#include <vector>

/// Jobs that run, on the test's thread, when the test says so and in the order that it wants: those of
/// threads of their own may end in any order.
class PendingJobs final : public JobExecutor {
  public:
    void async(Task task) override { m_jobs.push_back(std::move(task)); }
    /// Ends at once, unless the test lets it take longer: then it is a job like the others.
    bool asyncAndWait(Task task, std::chrono::nanoseconds /*atMost*/, Task whenLate) override {
        if (!takeLonger) {
            task();
            return true;
        }
        async([task = std::move(task), whenLate = std::move(whenLate)] {
            task();
            whenLate();
        });
        return false;
    }
    bool takeLonger = false; ///< what is waited for

    std::size_t count() const { return m_jobs.size(); }
    void run(std::size_t index) {
        const Task job = std::move(m_jobs[index]);
        m_jobs.erase(m_jobs.begin() + static_cast<std::ptrdiff_t>(index));
        job();
    }
    /// The oldest first, and what they start.
    void runAll() {
        while (!m_jobs.empty()) run(0);
    }

  private:
    std::vector<Task> m_jobs;
};

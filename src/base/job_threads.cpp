#include "base/job_threads.h"

#include <condition_variable>
#include <memory>
#include <utility>

JobThreads::~JobThreads() {
    for (;;) { // a job may have started another
        std::list<Job> jobs;
        {
            const std::lock_guard lock(m_mutex);
            jobs.splice(jobs.end(), m_jobs);
        }
        if (jobs.empty()) return;
        for (Job& job : jobs) job.thread.join();
    }
}

void JobThreads::async(Task task) {
    joinEnded();
    const std::lock_guard lock(m_mutex);
    Job& job = m_jobs.emplace_back();
    job.thread = std::thread([this, &job, task = std::move(task)]() mutable {
        task();
        task = nullptr; // what it holds goes before it counts as ended
        const std::lock_guard ending(m_mutex);
        job.ended = true;
    });
}

bool JobThreads::asyncAndWait(Task task, std::chrono::nanoseconds atMost, Task whenLate) {
    struct Wait {
        std::mutex mutex;
        std::condition_variable changed;
        bool hasEnded = false; // guarded by mutex, as is the next
        bool isOver = false;
    };
    const auto wait = std::make_shared<Wait>(); // the task may outlive this call
    async([wait, task = std::move(task), whenLate = std::move(whenLate)]() mutable {
        task();
        task = nullptr; // what it holds goes before it counts as ended
        {
            const std::lock_guard lock(wait->mutex);
            wait->hasEnded = true;
            if (!wait->isOver) return wait->changed.notify_one();
        }
        whenLate();
    });
    std::unique_lock lock(wait->mutex);
    wait->isOver = !wait->changed.wait_for(lock, atMost, [&] { return wait->hasEnded; });
    return wait->hasEnded;
}

void JobThreads::joinEnded() {
    std::list<Job> ended;
    {
        const std::lock_guard lock(m_mutex);
        for (auto job = m_jobs.begin(); job != m_jobs.end();) {
            const auto next = std::next(job);
            if (job->ended) ended.splice(ended.end(), m_jobs, job);
            job = next;
        }
    }
    for (Job& job : ended) job.thread.join();
}

#include "base/job_threads.h"

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

#include "platform/posix/sync_thread.h"

#include "base/error.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <pthread.h>
#include <utility>

SyncThread::SyncThread(FailureHandler onFailure)
    : m_onFailure(std::move(onFailure)), m_thread([this] { run(); }) {
    pthread_setname_np(m_thread.native_handle(), "tapdeck.sync");
}

SyncThread::~SyncThread() {
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void SyncThread::sync(std::shared_ptr<OutputFile> file) {
    add({std::move(file), false});
}

std::future<bool> SyncThread::syncAndAnswer(std::shared_ptr<OutputFile> file) {
    Job job{std::move(file), false};
    std::future<bool> answer = job.answers.emplace_back().get_future();
    add(std::move(job));
    return answer;
}

void SyncThread::syncAndClose(std::shared_ptr<OutputFile> file) {
    add({std::move(file), true});
}

void SyncThread::add(Job job) {
    const std::filesystem::path path = job.file->path();
    bool stalls = false;
    {
        const std::lock_guard lock(m_mutex);
        const auto waiting = std::find_if(m_jobs.begin(), m_jobs.end(),
                                          [&](const Job& each) { return each.file == job.file; });
        if (waiting == m_jobs.end()) {
            m_jobs.push_back(std::move(job));
        } else {
            waiting->last = job.last;
            std::move(job.answers.begin(), job.answers.end(), std::back_inserter(waiting->answers));
            stalls = ++waiting->requests == mostWaitingRequests;
        }
    }
    m_changed.notify_one();
    if (stalls) report(path, Error::posix(ETIMEDOUT));
}

void SyncThread::run() {
    for (;;) {
        Job job;
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [this] { return m_ending || !m_jobs.empty(); });
            if (m_jobs.empty()) return;
            job = std::move(m_jobs.front());
            m_jobs.pop_front();
        }
        const bool onDisk = perform(job);
        for (std::promise<bool>& answer : job.answers) answer.set_value(onDisk);
    }
}

bool SyncThread::perform(const Job& job) {
    try {
        if (job.last)
            job.file->sync();
        else
            job.file->syncData();
        if (!job.last && job.file->isDeleted()) throw Error::posix(ENOENT);
        return true;
    } catch (const Error& error) {
        report(job.file->path(), error);
        return false;
    }
}

void SyncThread::report(const std::filesystem::path& path, const Error& error) {
    {
        const std::lock_guard lock(m_mutex);
        const std::pair told(path, error.code());
        if (std::find(m_failed.begin(), m_failed.end(), told) != m_failed.end()) return;
        m_failed.push_back(told);
    }
    m_onFailure(path, error);
}

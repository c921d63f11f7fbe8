#include "platform/posix/sync_thread.h"

#include "base/error.h"

#include <algorithm>
#include <cerrno>
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
    add(std::move(file), false);
}

void SyncThread::syncAndClose(std::shared_ptr<OutputFile> file) {
    add(std::move(file), true);
}

void SyncThread::add(std::shared_ptr<OutputFile> file, bool last) {
    const std::filesystem::path path = file->path();
    bool stalls = false;
    {
        const std::lock_guard lock(m_mutex);
        const auto waiting =
            std::find_if(m_jobs.begin(), m_jobs.end(), [&](const Job& job) { return job.file == file; });
        if (waiting != m_jobs.end()) {
            waiting->last = last;
            stalls = ++waiting->requests == mostWaitingRequests;
        } else {
            m_jobs.push_back({std::move(file), last});
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
        perform(job);
    }
}

void SyncThread::perform(const Job& job) {
    try {
        if (job.last)
            job.file->sync();
        else
            job.file->syncData();
        if (!job.last && job.file->isDeleted()) throw Error::posix(ENOENT);
    } catch (const Error& error) {
        report(job.file->path(), error);
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

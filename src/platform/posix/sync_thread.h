#pragma once

#include "platform/posix/output_file.h"

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

class Error;

/// Waits for the disk in the place of those who must not: a thread that brings files to the disk in the order
/// in which they were handed over. A file belongs to it and to its writer together, so it is never closed
/// under either.
///
/// Destruction finishes everything handed over and joins the thread: it may take as long as the disk does.
class SyncThread {
  public:
    /// What the disk said; ENOENT for a file that was deleted; ETIMEDOUT when mostWaitingRequests found the
    /// disk busy, on the thread of the last of them. Else on the sync thread. At most once for each path and
    /// errno.
    using FailureHandler = std::function<void(const std::filesystem::path&, const Error&)>;

    /// Requests for one file that may become one before the disk is said to stall. A writer makes one for
    /// each second of sound.
    static constexpr int mostWaitingRequests = 30;

    explicit SyncThread(FailureHandler onFailure);
    ~SyncThread();
    SyncThread(const SyncThread&) = delete;
    SyncThread& operator=(const SyncThread&) = delete;

    /// Brings to the disk what was written so far. Returns at once; while the disk is slower than the
    /// requests, those for one file become one. Any thread.
    void sync(std::shared_ptr<OutputFile> file);
    /// The same, with an answer: true once it is there, false when the disk refused.
    std::future<bool> syncAndAnswer(std::shared_ptr<OutputFile> file);
    /// The same with everything about the file, and lets go of it: when the caller has done so too, it
    /// closes.
    void syncAndClose(std::shared_ptr<OutputFile> file);

  private:
    struct Job {
        std::shared_ptr<OutputFile> file;
        bool last;
        std::vector<std::promise<bool>> answers = {}; ///< awaited by those who asked for one
        int requests = 1;
    };

    void add(Job job);
    void run();
    bool perform(const Job& job);
    void report(const std::filesystem::path& path, const Error& error);

    const FailureHandler m_onFailure;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Job> m_jobs;                                      // guarded by m_mutex
    std::vector<std::pair<std::filesystem::path, int>> m_failed; // guarded by m_mutex
    bool m_ending = false;                                       // guarded by m_mutex
    std::thread m_thread;                                        // last: it uses all of the above
};

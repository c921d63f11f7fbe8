#pragma once

#include "platform/posix/output_file.h"

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class Error;

/// Waits for the disk in the place of those who must not: a thread that brings files to the disk in the order
/// in which they were handed over. A file belongs to it and to its writer together, so it is never closed
/// under either.
///
/// Destruction finishes everything handed over and joins the thread: it may take as long as the disk does.
class SyncThread {
  public:
    /// Called on the sync thread, at most once for each path.
    using FailureHandler = std::function<void(const std::filesystem::path&, const Error&)>;

    explicit SyncThread(FailureHandler onFailure);
    ~SyncThread();
    SyncThread(const SyncThread&) = delete;
    SyncThread& operator=(const SyncThread&) = delete;

    /// Brings to the disk what was written so far. Returns at once; while the disk is slower than the
    /// requests, those for one file become one. Any thread.
    void sync(std::shared_ptr<OutputFile> file);
    /// The same with everything about the file, and lets go of it: when the caller has done so too, it
    /// closes.
    void syncAndClose(std::shared_ptr<OutputFile> file);

  private:
    struct Job {
        std::shared_ptr<OutputFile> file;
        bool last;
    };

    void add(std::shared_ptr<OutputFile> file, bool last);
    void run();
    void perform(const Job& job);

    const FailureHandler m_onFailure;
    std::vector<std::filesystem::path> m_failed; // touched by the thread only
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Job> m_jobs; // guarded by m_mutex
    bool m_ending = false;  // guarded by m_mutex
    std::thread m_thread;   // last: it uses all of the above
};

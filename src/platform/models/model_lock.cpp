#include "platform/models/model_lock.h"

#include "platform/models/faults.h"

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <fcntl.h>
#include <mutex>
#include <sys/file.h>

namespace {

/// The system can wait for a lock, but not for a lock or a stop request.
constexpr std::chrono::milliseconds lookAgain{100};

void pause(const std::stop_token& stop) {
    std::mutex mutex;
    std::condition_variable_any stopped;
    std::unique_lock lock(mutex);
    stopped.wait_for(lock, stop, lookAgain, [] { return false; });
}

} // namespace

ModelLock::ModelLock(const std::filesystem::path& file, const std::function<void()>& onWait,
                     const std::stop_token& stop)
    : m_handle(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666)) {
    if (!m_handle) throw diskError(file, errno);
    for (bool waits = false; ::flock(m_handle.get(), LOCK_EX | LOCK_NB) != 0;) {
        if (errno == EINTR) continue;
        if (errno != EWOULDBLOCK) throw diskError(file, errno);
        if (!waits) onWait();
        waits = true;
        pause(stop);
        throwIfStopped(stop);
    }
}

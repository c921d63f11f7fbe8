#include "base/thread_queue.h"

#include <cerrno>
#include <ctime>
#include <future>
#include <optional>
#include <pthread.h>
#include <utility>

namespace {

SerialQueue::Time monotonicNow() {
    return std::chrono::duration_cast<SerialQueue::Time>(std::chrono::steady_clock::now().time_since_epoch());
}

} // namespace

ThreadQueue::ThreadQueue(std::string label) : m_label(std::move(label)) {
    sem_init(&m_wake, 0, 0);
    m_thread = std::thread([this] { run(); });
    pthread_setname_np(m_thread.native_handle(), m_label.substr(0, 15).c_str());
}

ThreadQueue::~ThreadQueue() {
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    sem_post(&m_wake);
    m_thread.join();
    sem_destroy(&m_wake);
}

void ThreadQueue::async(Task task) {
    {
        const std::lock_guard lock(m_mutex);
        m_tasks.push_back(std::move(task));
    }
    sem_post(&m_wake);
}

void ThreadQueue::asyncAfter(Time delay, Task task) {
    {
        const std::lock_guard lock(m_mutex);
        m_waiting.emplace(now() + delay, std::move(task));
    }
    sem_post(&m_wake); // the next time to look may have come nearer
}

void ThreadQueue::sync(const Task& task) {
    std::promise<void> ended;
    async([&] {
        task();
        ended.set_value();
    });
    ended.get_future().wait();
}

SerialQueue::Time ThreadQueue::now() const {
    return monotonicNow();
}

void ThreadQueue::attachSource(Task drain) {
    sync([&] { m_drain = std::move(drain); });
}

void ThreadQueue::detachSource() {
    sync([this] { m_drain = nullptr; });
}

void ThreadQueue::signalSource() noexcept {
    sem_post(&m_wake);
}

void ThreadQueue::run() {
    for (;;) {
        waitForWork();
        if (m_drain) m_drain();
        if (!runDueTasks()) return;
    }
}

void ThreadQueue::waitForWork() {
    std::optional<Time> next;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_waiting.empty()) next = m_waiting.begin()->first;
    }
    if (next) {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(*next);
        const timespec deadline{seconds.count(), (*next - seconds).count()};
        while (sem_clockwait(&m_wake, CLOCK_MONOTONIC, &deadline) != 0 && errno == EINTR) {
        }
    } else {
        while (sem_wait(&m_wake) != 0 && errno == EINTR) {
        }
    }
    while (sem_trywait(&m_wake) == 0) {
    } // one look serves every reason so far
}

/// False when the queue is ending and nothing is due any more.
bool ThreadQueue::runDueTasks() {
    for (;;) {
        Task task;
        {
            const std::lock_guard lock(m_mutex);
            while (!m_waiting.empty() && m_waiting.begin()->first <= now())
                m_tasks.push_back(std::move(m_waiting.extract(m_waiting.begin()).mapped()));
            if (m_tasks.empty()) return !m_ending;
            task = std::move(m_tasks.front());
            m_tasks.pop_front();
        }
        task();
    }
}

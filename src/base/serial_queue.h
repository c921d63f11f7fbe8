#pragma once

#include <chrono>
#include <functional>

using Task = std::function<void()>;

/// Something that runs tasks later.
class Executor {
  public:
    virtual ~Executor() = default;
    /// Any thread. The task must not throw.
    virtual void async(Task task) = 0;
};

/// Gives each task a thread of its own, so that none waits for another.
class JobExecutor : public Executor {
  public:
    /// Runs the task as async does and waits for its end, but no longer than `atMost`. True: it has ended.
    /// False: it goes on, and `whenLate` runs on its thread once it has ended. Neither may throw.
    virtual bool asyncAndWait(Task task, std::chrono::nanoseconds atMost, Task whenLate) = 0;
};

/// Runs tasks one after the other, in the order in which they came, and knows the time.
class TimedQueue : public Executor {
  public:
    /// Time since an arbitrary beginning; monotonic.
    using Time = std::chrono::nanoseconds;

    /// Any thread. Runs the task once the delay has passed, after what was queued by then.
    virtual void asyncAfter(Time delay, Task task) = 0;
    virtual Time now() const = 0;
};

/// A timed queue that can also be waited for and fed by a source.
class SerialQueue : public TimedQueue {
  public:
    /// Runs the task after everything queued so far and returns when it has ended. Never from a task of this
    /// queue.
    virtual void sync(const Task& task) = 0;

    /// A source feeds the queue from a thread that may neither allocate nor lock: `drain` runs on the queue
    /// after each signal (several signals may share one run). A queue has at most one source.
    /// Call attachSource before the first signal.
    virtual void attachSource(Task drain) = 0;
    /// After it returns `drain` neither runs nor will run; signals are ignored. Never from a task of this
    /// queue.
    virtual void detachSource() = 0;
    /// Real-time safe: one semaphore post.
    virtual void signalSource() noexcept = 0;
};

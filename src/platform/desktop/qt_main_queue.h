#pragma once

#include "base/serial_queue.h"

#include <QObject>

/// The thread of Qt's event loop as a queue. Made on that thread once the application object exists, and
/// destroyed there; what waits by then never runs.
class QtMainQueue final : public TimedQueue {
  public:
    void async(Task task) override;
    void asyncAfter(Time delay, Task task) override;
    Time now() const override;

  private:
    QObject m_context; // its thread is the one that tasks run on; when it goes they go
};

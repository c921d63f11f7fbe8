#include "platform/desktop/qt_main_queue.h"

#include <QTimer>
#include <utility>

void QtMainQueue::async(Task task) {
    QMetaObject::invokeMethod(&m_context, std::move(task), Qt::QueuedConnection);
}

void QtMainQueue::asyncAfter(Time delay, Task task) {
    const auto due = now() + delay;
    async([this, due, task = std::move(task)]() mutable { // a timer belongs to the thread that it is made on
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - now());
        QTimer::singleShot(std::max(left, std::chrono::milliseconds(0)), Qt::PreciseTimer, &m_context,
                           std::move(task));
    });
}

QtMainQueue::Time QtMainQueue::now() const {
    return std::chrono::steady_clock::now().time_since_epoch();
}

#include "platform/desktop/logind_sleep_guard.h"

#include "platform/desktop/logind_watch.h"

#include <pthread.h>
#include <utility>

void LogindSleepGuard::start(std::function<void()> beforeSleep) {
    m_thread = std::jthread([beforeSleep = std::move(beforeSleep)](const std::stop_token& stop) {
        LogindWatch(beforeSleep).run(stop);
    });
    pthread_setname_np(m_thread.native_handle(), "tapdeck.sleep");
}

void LogindSleepGuard::stop() {
    m_thread = {}; // requests the stop and joins
}

#include "support/realtime_watch.h"

#include <atomic>
#include <cstdarg>
#include <dlfcn.h>
#include <pipewire/pipewire.h>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

thread_local bool inCallback = false;
std::atomic<std::size_t> enclosed{0};
std::atomic<std::size_t> posts{0};
std::atomic<std::size_t> forbidden{0};
std::atomic<const char*> first{nullptr};

void forbid(const char* function) {
    if (!inCallback) return;
    forbidden += 1;
    const char* none = nullptr;
    first.compare_exchange_strong(none, function);
}

/// The function of that name that we stand in for.
template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

RealTimeWatch::RealTimeWatch() {
    enclosed = 0;
    posts = 0;
    forbidden = 0;
    first = nullptr;
}

void RealTimeWatch::enter() {
    enclosed += 1;
    inCallback = true;
}

void RealTimeWatch::leave() {
    inCallback = false;
}

std::size_t RealTimeWatch::callbacks() const {
    return enclosed;
}

std::size_t RealTimeWatch::semaphorePosts() const {
    return posts;
}

std::size_t RealTimeWatch::forbiddenCalls() const {
    return forbidden;
}

std::string RealTimeWatch::firstForbidden() const {
    const char* const name = first;
    return name != nullptr ? name : "";
}

// The C library's own names for its allocator, which stay reachable when the public ones are replaced.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);
}
// NOLINTEND(bugprone-reserved-identifier)

extern "C" {

void* malloc(std::size_t size) noexcept {
    forbid("malloc");
    return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) noexcept {
    forbid("calloc");
    return __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size) noexcept {
    forbid("realloc");
    return __libc_realloc(memory, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    forbid("aligned_alloc");
    return __libc_memalign(alignment, size);
}
void free(void* memory) noexcept {
    forbid("free");
    __libc_free(memory);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    static auto* const real = next<int(pthread_mutex_t*)>("pthread_mutex_lock");
    forbid("pthread_mutex_lock");
    return real(mutex);
}
int pthread_mutex_trylock(pthread_mutex_t* mutex) noexcept {
    static auto* const real = next<int(pthread_mutex_t*)>("pthread_mutex_trylock");
    forbid("pthread_mutex_trylock");
    return real(mutex);
}
int pthread_cond_signal(pthread_cond_t* condition) noexcept {
    static auto* const real = next<int(pthread_cond_t*)>("pthread_cond_signal");
    forbid("pthread_cond_signal");
    return real(condition);
}
int pthread_cond_broadcast(pthread_cond_t* condition) noexcept {
    static auto* const real = next<int(pthread_cond_t*)>("pthread_cond_broadcast");
    forbid("pthread_cond_broadcast");
    return real(condition);
}

int sem_post(sem_t* semaphore) noexcept {
    static auto* const real = next<int(sem_t*)>("sem_post");
    if (inCallback) posts += 1;
    return real(semaphore);
}
int sem_wait(sem_t* semaphore) {
    static auto* const real = next<int(sem_t*)>("sem_wait");
    forbid("sem_wait");
    return real(semaphore);
}

ssize_t read(int file, void* data, std::size_t size) {
    static auto* const real = next<ssize_t(int, void*, std::size_t)>("read");
    forbid("read");
    return real(file, data, size);
}
ssize_t write(int file, const void* data, std::size_t size) {
    static auto* const real = next<ssize_t(int, const void*, std::size_t)>("write");
    forbid("write");
    return real(file, data, size);
}
ssize_t writev(int file, const iovec* parts, int count) {
    static auto* const real = next<ssize_t(int, const iovec*, int)>("writev");
    forbid("writev");
    return real(file, parts, count);
}
ssize_t sendmsg(int socket, const msghdr* message, int flags) {
    static auto* const real = next<ssize_t(int, const msghdr*, int)>("sendmsg");
    forbid("sendmsg");
    return real(socket, message, flags);
}
ssize_t recvmsg(int socket, msghdr* message, int flags) {
    static auto* const real = next<ssize_t(int, msghdr*, int)>("recvmsg");
    forbid("recvmsg");
    return real(socket, message, flags);
}
int poll(pollfd* files, nfds_t count, int limit) {
    static auto* const real = next<int(pollfd*, nfds_t, int)>("poll");
    forbid("poll");
    return real(files, count, limit);
}
int close(int file) {
    static auto* const real = next<int(int)>("close");
    forbid("close");
    return real(file);
}
void* mmap(void* address, std::size_t size, int protection, int flags, int file, off_t offset) noexcept {
    static auto* const real = next<void*(void*, std::size_t, int, int, int, off_t)>("mmap");
    forbid("mmap");
    return real(address, size, protection, flags, file, offset);
}
int clock_nanosleep(clockid_t clock, int flags, const timespec* until, timespec* left) {
    static auto* const real = next<int(clockid_t, int, const timespec*, timespec*)>("clock_nanosleep");
    forbid("clock_nanosleep");
    return real(clock, flags, until, left);
}
long syscall(long number, ...) noexcept {
    static auto* const real = next<long(long, ...)>("syscall");
    forbid("syscall");
    va_list list;
    va_start(list, number);
    long arguments[6];
    for (long& argument : arguments) argument = va_arg(list, long);
    va_end(list);
    return real(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5]);
}

/// Encloses the process callback of every stream of this program; they all share one table of events.
void pw_stream_add_listener(pw_stream* stream, spa_hook* listener, const pw_stream_events* events,
                            void* data) {
    using AddListener = void(pw_stream*, spa_hook*, const pw_stream_events*, void*);
    static auto* const real = next<AddListener>("pw_stream_add_listener");
    static const pw_stream_events original = *events;
    static const pw_stream_events watched = [] {
        pw_stream_events made = original;
        made.process = [](void* self) {
            RealTimeWatch::enter();
            original.process(self);
            RealTimeWatch::leave();
        };
        return made;
    }();
    real(stream, listener, &watched, data);
}
}

#include "platform/pipewire/connection.h"

#include "base/error.h"

#include <algorithm>
#include <cerrno>

using pipewire::LoopLock;
using pipewire::Server;

PipeWireConnection::PipeWireConnection() : m_loop(pw_thread_loop_new("tapdeck.pw", nullptr)) {
    if (!m_loop) throw Error::posix(errno);
    m_context.reset(pw_context_new(pw_thread_loop_get_loop(m_loop.get()), nullptr, 0));
    if (const int status = pw_thread_loop_start(m_loop.get()); status < 0) throw Error::posix(-status);
}

PipeWireConnection::~PipeWireConnection() {
    {
        const LoopLock lock(m_loop.get());
        m_server.reset();
        m_context.reset();
    }
    pw_thread_loop_stop(m_loop.get());
}

PipeWireConnection::Connected PipeWireConnection::connect() {
    const LoopLock lock(m_loop.get());
    if (!m_server || !m_server->isAlive()) {
        try {
            replaceServer();
        } catch (const Error& error) {
            return {-error.code(), nullptr};
        }
    }
    const std::shared_ptr<Server> server = m_server;
    waitUntil([&] { return server->hasFirstLook() || !server->isAlive(); },
              m_firstLookEnds - std::chrono::steady_clock::now());
    const auto isReady = [&] { return isManaged(m_graph.current()) || !server->isAlive(); };
    waitUntil(isReady, timeUntilManaged(m_graph.current()));
    if (!server->isAlive()) return {-EPIPE, nullptr};
    return {0, server};
}

void PipeWireConnection::replaceServer() {
    m_server.reset();
    if (!m_context) throw Error::posix(ENOENT);
    // Whoever lets go of it last does so under the lock.
    m_server =
        std::shared_ptr<Server>(new Server(*m_context, m_graph, !m_hasConnected, [this] { wakeWaiting(); }),
                                [loop = m_loop.get()](Server* server) {
                                    const LoopLock lock(loop);
                                    delete server;
                                });
    m_hasConnected = true;
    m_firstLookEnds = std::chrono::steady_clock::now() + std::chrono::seconds(2);
}

bool PipeWireConnection::waitUntil(const std::function<bool()>& holds, std::chrono::nanoseconds limit) const {
    timespec deadline{};
    pw_thread_loop_get_time(m_loop.get(), &deadline,
                            std::max(limit, std::chrono::nanoseconds::zero()).count());
    while (!holds())
        if (pw_thread_loop_timed_wait_full(m_loop.get(), &deadline) < 0) return holds();
    return true;
}

#pragma once

#include "platform/pipewire/graph.h"
#include "platform/pipewire/handles.h"
#include "platform/pipewire/server.h"

#include <chrono>
#include <functional>
#include <memory>

/// The process's one connection to the sound server, shared by everything that uses it and outliving it.
///
/// Its loop thread only follows the server's objects; audio has threads of its own. When the server goes away
/// what is under way falls silent, and the next connect() finds the new one.
class PipeWireConnection {
  public:
    /// Does not connect yet. Without the library's configuration there is simply never a server.
    PipeWireConnection();
    ~PipeWireConnection();
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;

    struct Connected {
        int status;                               ///< 0 or a negative errno
        std::shared_ptr<pipewire::Server> server; ///< null when there is none
    };
    /// Any thread but the loop's. Connects unless that is done, and waits, for 2 seconds at most from
    /// connecting on, until the graph shows what there is; then until a session manager that was just started
    /// has set up its devices.
    Connected connect();

    /// What the server has announced; empty without one. Any thread, at once.
    const pipewire::SharedGraph& graph() const { return m_graph; }
    pw_thread_loop* loop() const { return m_loop.get(); }

    /// Under the loop's lock, which is free meanwhile: waits until `holds`, looking again after each event of
    /// the server. False when the time is over.
    bool waitUntil(const std::function<bool()>& holds, std::chrono::nanoseconds limit) const;
    /// Any thread: lets waitUntil look again.
    void wakeWaiting() const { pw_thread_loop_signal(m_loop.get(), false); }

  private:
    void replaceServer();

    const pipewire::Library m_library;
    pipewire::SharedGraph m_graph;
    pipewire::ThreadLoopHandle m_loop;
    pipewire::ContextHandle m_context;          // lives as long as the process, whatever the server does
    std::shared_ptr<pipewire::Server> m_server; // under the loop's lock
    bool m_hasConnected = false;                // under the loop's lock
    std::chrono::steady_clock::time_point m_firstLookEnds; // under the loop's lock
};

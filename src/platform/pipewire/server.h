#pragma once

#include "platform/pipewire/graph_watch.h"
#include "platform/pipewire/handles.h"

#include <cstdint>
#include <functional>

namespace pipewire {

/// One connection to a sound server, from connecting until the server goes away; it is never revived. Made,
/// used and destroyed under the loop's lock, and never destroyed from the loop's own thread.
class Server {
  public:
    /// `onChange` runs on the loop's thread after anything below has changed. A server that
    /// `wasThereBeforeUs` has not just been started. Throws Error of domain "posix" when there is no server.
    Server(pw_context& context, SharedGraph& graph, bool wasThereBeforeUs, std::function<void()> onChange);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    pw_core& core() { return *m_core; }
    GraphWatch& graphWatch() { return m_graphWatch; }
    /// False once the server has gone: nothing asked of it will be answered any more.
    bool isAlive() const { return m_alive; }
    /// True when everything that existed at the beginning is in the graph, the session manager's choice of
    /// default devices included.
    bool hasFirstLook() const;

  private:
    static void onDone(void* self, std::uint32_t id, int sequence) noexcept;
    static void onError(void* self, std::uint32_t id, int sequence, int result, const char* message) noexcept;
    static const pw_core_events events;

    std::function<void()> m_onChange;
    bool m_alive = true;
    int m_roundTrips = 0; // answered so far
    int m_awaited = 0;    // sequence number of the round trip under way
    CoreHandle m_core;
    Hook m_coreHook;
    GraphWatch m_graphWatch; // after the core: its proxies go before the core does
};

} // namespace pipewire

#pragma once

#include "platform/pipewire/connection.h"
#include "platform/pipewire/graph_watch.h"
#include "platform/pipewire/tap_routing.h"

#include <functional>
#include <memory>
#include <vector>

namespace pipewire {

/// Keeps the tap linked to every playing application for as long as it exists: those that come are linked,
/// what goes is forgotten. Says once, on the loop's thread, that the session manager has gone. Made and
/// destroyed under the loop's lock.
class TapLinker final : public GraphObserver {
  public:
    TapLinker(Server& server, ObjectID tapNode, std::function<void()> onUnmanaged);
    ~TapLinker() override;
    TapLinker(const TapLinker&) = delete;
    TapLinker& operator=(const TapLinker&) = delete;

    void graphChanged(const Graph& graph) noexcept override;

  private:
    struct Link;

    Server& m_server;
    const ObjectID m_tapNode;
    std::function<void()> m_onUnmanaged;
    std::vector<std::unique_ptr<Link>> m_links;
};

} // namespace pipewire

#pragma once

#include "platform/pipewire/graph.h"
#include "platform/pipewire/handles.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <pipewire/extensions/metadata.h>
#include <vector>

namespace pipewire {

/// Hears of changes on the loop's thread.
class GraphObserver {
  public:
    virtual ~GraphObserver() = default;
    virtual void graphChanged(const Graph& graph) noexcept = 0;
};

/// Keeps a graph as the server's registry, the nodes themselves and the session manager describe it. All of
/// it under the loop's lock.
class GraphWatch {
  public:
    /// Empties the graph first. `onChange` runs after the observers. With
    /// `wasThereBeforeUs` its first announcements tell of what has existed for long.
    GraphWatch(pw_core& core, SharedGraph& graph, bool wasThereBeforeUs, std::function<void()> onChange);
    ~GraphWatch();
    GraphWatch(const GraphWatch&) = delete;
    GraphWatch& operator=(const GraphWatch&) = delete;

    const Graph& graph() const { return m_graph.current(); }
    void add(GraphObserver& observer);
    void remove(GraphObserver& observer);
    /// What is announced from now on has begun to exist only now.
    void endFirstLook() { m_isBeforeUs = false; }
    /// The server has gone: nothing that it told is true any more.
    void forget();

  private:
    struct BoundNode;
    struct BoundMetadata;

    static void onGlobal(void* self, std::uint32_t id, std::uint32_t permissions, const char* type,
                         std::uint32_t version, const spa_dict* properties) noexcept;
    static void onGlobalRemove(void* self, std::uint32_t id) noexcept;
    static void onNodeInfo(void* bound, const pw_node_info* info) noexcept;
    static void onNodeParam(void* bound, int sequence, std::uint32_t id, std::uint32_t index,
                            std::uint32_t next, const spa_pod* param) noexcept;
    static int onMetadataProperty(void* self, std::uint32_t subject, const char* key, const char* type,
                                  const char* value) noexcept;
    static const pw_registry_events registryEvents;
    static const pw_node_events nodeEvents;
    static const pw_metadata_events metadataEvents;

    void addNode(ObjectID id, const spa_dict* properties);
    void addPort(ObjectID id, const spa_dict* properties);
    void addMetadata(ObjectID id, const spa_dict* properties);
    void remove(ObjectID id);
    void closeIfOrphaned(const BoundNode& node);
    void setDefault(const char* key, const char* value);
    template <typename Change>
    void changeNode(ObjectID id, Change&& change);
    void changed();

    SharedGraph& m_graph;
    bool m_isBeforeUs; // what is announced was there before us
    std::function<void()> m_onChange;
    std::vector<GraphObserver*> m_observers;
    ProxyHandle<pw_registry> m_registry;
    Hook m_registryHook;
    std::map<ObjectID, std::unique_ptr<BoundNode>> m_boundNodes;
    std::unique_ptr<BoundMetadata> m_metadata; // the session manager's "default" metadata
    bool m_lostManager = false;                // and no other has come
};

} // namespace pipewire

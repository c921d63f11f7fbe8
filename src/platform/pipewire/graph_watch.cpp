#include "platform/pipewire/graph_watch.h"

#include "platform/pipewire/calls.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace pipewire {

struct GraphWatch::BoundNode {
    BoundNode(GraphWatch& of, ObjectID number)
        : watch(of), id(number), proxy(bindNode(*of.m_registry, number)) {}

    GraphWatch& watch;
    ObjectID id;
    ProxyHandle<pw_node> proxy;
    bool isIdle = false;                            // open, but not running
    spa_direction direction = SPA_DIRECTION_OUTPUT; // of its ports, monitors aside
    Hook hook;
};

struct GraphWatch::BoundMetadata {
    BoundMetadata(pw_registry& registry, ObjectID number)
        : id(number), proxy(bindMetadata(registry, number)) {}

    ObjectID id;
    ProxyHandle<pw_metadata> proxy;
    Hook hook;
};

namespace {

std::string valueOf(const spa_dict* properties, const char* key) {
    const char* const value = properties != nullptr ? spa_dict_lookup(properties, key) : nullptr;
    return value != nullptr ? value : "";
}

std::string descriptionOf(const spa_dict* properties) {
    for (const char* const key : {PW_KEY_NODE_DESCRIPTION, PW_KEY_NODE_NICK, PW_KEY_NODE_NAME})
        if (std::string value = valueOf(properties, key); !value.empty()) return value;
    return {};
}

/// Only these tell something that the registry does not.
bool isWorthBinding(const Node& node) {
    constexpr std::array<std::string_view, 5> classes{"Stream/Output/Audio", "Audio/Source",
                                                      "Audio/Source/Virtual", "Audio/Sink", "Audio/Duplex"};
    return std::find(classes.begin(), classes.end(), node.mediaClass) != classes.end();
}

} // namespace

const pw_registry_events GraphWatch::registryEvents{
    .version = PW_VERSION_REGISTRY_EVENTS, .global = onGlobal, .global_remove = onGlobalRemove};
const pw_node_events GraphWatch::nodeEvents{
    .version = PW_VERSION_NODE_EVENTS, .info = onNodeInfo, .param = onNodeParam};
const pw_metadata_events GraphWatch::metadataEvents{.version = PW_VERSION_METADATA_EVENTS,
                                                    .property = onMetadataProperty};

GraphWatch::GraphWatch(pw_core& core, SharedGraph& graph, bool wasThereBeforeUs,
                       std::function<void()> onChange)
    : m_graph(graph), m_isBeforeUs(wasThereBeforeUs), m_onChange(std::move(onChange)),
      m_registry(registryOf(core)) {
    m_graph.change([](Graph& all) { all = {}; });
    listen(*m_registry, m_registryHook, registryEvents, this);
}

GraphWatch::~GraphWatch() = default;

void GraphWatch::add(GraphObserver& observer) {
    m_observers.push_back(&observer);
}

void GraphWatch::remove(GraphObserver& observer) {
    std::erase(m_observers, &observer);
}

void GraphWatch::forget() {
    m_graph.change([](Graph& all) { all = {}; });
    changed();
}

void GraphWatch::onGlobal(void* self, std::uint32_t id, std::uint32_t /*permissions*/, const char* type,
                          std::uint32_t /*version*/, const spa_dict* properties) noexcept {
    GraphWatch& watch = *static_cast<GraphWatch*>(self);
    const std::string_view kind(type);
    if (kind == PW_TYPE_INTERFACE_Node)
        watch.addNode(id, properties);
    else if (kind == PW_TYPE_INTERFACE_Port)
        watch.addPort(id, properties);
    else if (kind == PW_TYPE_INTERFACE_Metadata)
        watch.addMetadata(id, properties);
}

void GraphWatch::onGlobalRemove(void* self, std::uint32_t id) noexcept {
    static_cast<GraphWatch*>(self)->remove(id);
}

void GraphWatch::addNode(ObjectID id, const spa_dict* properties) {
    Node node;
    node.id = id;
    node.name = valueOf(properties, PW_KEY_NODE_NAME);
    node.description = descriptionOf(properties);
    node.mediaClass = valueOf(properties, PW_KEY_MEDIA_CLASS);
    if (isWorthBinding(node)) {
        auto bound = std::make_unique<BoundNode>(*this, id);
        if (bound->proxy) {
            listen(*bound->proxy, bound->hook, nodeEvents, bound.get());
            m_boundNodes[id] = std::move(bound);
        }
    }
    m_graph.change([&](Graph& all) { all.nodes.push_back(std::move(node)); });
    changed();
}

void GraphWatch::addPort(ObjectID id, const spa_dict* properties) {
    Port port;
    port.id = id;
    port.node = static_cast<ObjectID>(std::strtoul(valueOf(properties, PW_KEY_NODE_ID).c_str(), nullptr, 10));
    port.isOutput = valueOf(properties, PW_KEY_PORT_DIRECTION) == "out";
    port.isMonitor = valueOf(properties, PW_KEY_PORT_MONITOR) == "true";
    port.channel = valueOf(properties, PW_KEY_AUDIO_CHANNEL);
    m_graph.change([&](Graph& all) { all.ports.push_back(std::move(port)); });
    changed();
}

void GraphWatch::addMetadata(ObjectID id, const spa_dict* properties) {
    if (valueOf(properties, "metadata.name") != "default") return;
    m_metadata = std::make_unique<BoundMetadata>(*m_registry, id);
    if (m_metadata->proxy) listen(*m_metadata->proxy, m_metadata->hook, metadataEvents, this);
    m_lostManager = false;
    using Clock = std::chrono::steady_clock;
    m_graph.change([&](Graph& all) {
        all.managerKnownSince = Clock::now();
        all.managedSince = m_isBeforeUs ? Clock::time_point::min() : *all.managerKnownSince;
    });
    changed();
}

void GraphWatch::remove(ObjectID id) {
    m_boundNodes.erase(id);
    const bool lostDefaults = m_metadata && m_metadata->id == id;
    if (lostDefaults) {
        m_metadata.reset();
        m_lostManager = true;
        for (const auto& [number, node] : m_boundNodes) closeIfOrphaned(*node);
    }
    m_graph.change([&](Graph& all) {
        std::erase_if(all.nodes, [&](const Node& node) { return node.id == id; });
        std::erase_if(all.ports, [&](const Port& port) { return port.id == id; });
        if (lostDefaults) {
            all.defaultSource.clear();
            all.defaultSink.clear();
            all.managedSince.reset();
            all.managerKnownSince.reset();
        }
    });
    changed();
}

void GraphWatch::onNodeInfo(void* bound, const pw_node_info* info) noexcept {
    BoundNode& node = *static_cast<BoundNode*>(bound);
    node.isIdle = info->state == PW_NODE_STATE_IDLE;
    node.direction = info->n_input_ports > 0 ? SPA_DIRECTION_INPUT : SPA_DIRECTION_OUTPUT;
    node.watch.closeIfOrphaned(node);
    if ((info->change_mask & PW_NODE_CHANGE_MASK_PROPS) == 0 || info->props == nullptr) return;
    node.watch.changeNode(node.id, [&](Node& changing) {
        changing.infoKnown = true;
        changing.description = descriptionOf(info->props);
        changing.linkGroup = valueOf(info->props, PW_KEY_NODE_LINK_GROUP);
    });
}

void GraphWatch::onNodeParam(void* bound, int /*sequence*/, std::uint32_t id, std::uint32_t /*index*/,
                             std::uint32_t /*next*/, const spa_pod* param) noexcept {
    if (id != SPA_PARAM_Format || param == nullptr) return;
    const std::optional<RawFormat> format = parseRawFormat(*param);
    if (!format) return;
    const BoundNode& node = *static_cast<const BoundNode*>(bound);
    node.watch.changeNode(node.id, [&](Node& changing) {
        changing.formatChannels = format->channels;
        changing.rate = format->rate;
    });
}

int GraphWatch::onMetadataProperty(void* self, std::uint32_t subject, const char* key, const char* /*type*/,
                                   const char* value) noexcept {
    if (subject == PW_ID_CORE) static_cast<GraphWatch*>(self)->setDefault(key, value);
    return 0;
}

/// A session manager that is started again gives a device its ports and waits until they come. Those that its
/// predecessor gave, in the same way, are never announced again, and nobody could use the device any more.
void GraphWatch::closeIfOrphaned(const BoundNode& node) {
    if (!m_lostManager || !node.isIdle) return;
    const Node* const known = findNode(graph(), node.id);
    if (known != nullptr && known->mediaClass != "Stream/Output/Audio")
        closeDevice(*node.proxy, node.direction);
}

void GraphWatch::setDefault(const char* key, const char* value) {
    const std::string name = key != nullptr && value != nullptr ? nameInJson(value) : std::string();
    const bool all = key == nullptr; // every property was removed at once
    m_graph.change([&](Graph& graph) {
        if (all || std::string_view(key) == "default.audio.source") graph.defaultSource = name;
        if (all || std::string_view(key) == "default.audio.sink") graph.defaultSink = name;
    });
    changed();
}

template <typename Change>
void GraphWatch::changeNode(ObjectID id, Change&& change) {
    m_graph.change([&](Graph& all) {
        for (Node& node : all.nodes)
            if (node.id == id) change(node);
    });
    changed();
}

void GraphWatch::changed() {
    for (GraphObserver* const observer : m_observers) observer->graphChanged(graph());
    m_onChange();
}

} // namespace pipewire

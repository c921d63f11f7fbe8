#pragma once

#include "platform/pipewire/connection.h"

#include <functional>
#include <string>

/// Connects if needed and waits until what the server has announced satisfies the condition; false after a
/// generous limit.
inline bool waitFor(PipeWireConnection& connection,
                    const std::function<bool(const pipewire::Graph&)>& holds) {
    if (!connection.connect().server) return false;
    const pipewire::LoopLock lock(connection.loop());
    return connection.waitUntil([&] { return holds(connection.graph().current()); },
                                std::chrono::seconds(20));
}

/// Whether a node of that name is there and the session manager has given it ports.
inline bool hasPorts(const pipewire::Graph& graph, const std::string& nodeName) {
    for (const pipewire::Node& node : graph.nodes)
        for (const pipewire::Port& port : graph.ports)
            if (node.name == nodeName && port.node == node.id) return true;
    return false;
}

inline bool waitForMicrophone(PipeWireConnection& connection, const std::string& name) {
    return waitFor(connection, [&](const pipewire::Graph& graph) {
        return pipewire::findMicrophone(graph, name) != nullptr && hasPorts(graph, name);
    });
}

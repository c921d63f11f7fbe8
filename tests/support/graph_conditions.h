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

inline bool waitForMicrophone(PipeWireConnection& connection, const std::string& name) {
    return waitFor(connection, [&](const pipewire::Graph& graph) {
        const pipewire::Node* const mic = pipewire::findMicrophone(graph, name);
        if (mic == nullptr) return false;
        for (const pipewire::Port& port : graph.ports)
            if (port.node == mic->id) return true;
        return false;
    });
}

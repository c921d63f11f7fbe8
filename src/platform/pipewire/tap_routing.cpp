#include "platform/pipewire/tap_routing.h"

#include "platform/pipewire/downmix.h"

#include <algorithm>
#include <string_view>

namespace pipewire {

namespace {

bool isPlayingApplication(const Node& node) {
    return node.mediaClass == "Stream/Output/Audio" && node.infoKnown && node.linkGroup.empty();
}

std::vector<const Port*> outputPorts(const Graph& graph, ObjectID node) {
    std::vector<const Port*> ports;
    for (const Port& port : graph.ports)
        if (port.node == node && port.isOutput && !port.isMonitor) ports.push_back(&port);
    return ports;
}

const Port* inputPort(const Graph& graph, ObjectID tapNode, std::string_view channel) {
    const auto found = std::find_if(graph.ports.begin(), graph.ports.end(), [&](const Port& port) {
        return port.node == tapNode && !port.isOutput && port.channel == channel;
    });
    return found == graph.ports.end() ? nullptr : &*found;
}

const Port* withChannel(const std::vector<const Port*>& ports, std::string_view channel) {
    const auto found =
        std::find_if(ports.begin(), ports.end(), [&](const Port* port) { return port->channel == channel; });
    return found == ports.end() ? nullptr : *found;
}

/// The tap's channel for one channel of a surround stream. What has no counterpart alternates between left
/// and right: heard on one side is better than not heard.
std::string_view surroundChannel(const std::string& channel, std::size_t index) {
    const auto* const found = std::find(tapChannels.begin(), tapChannels.end(), channel);
    if (found != tapChannels.end()) return *found;
    return index % 2 == 0 ? "FL" : "FR";
}

struct Route {
    const Port* from;
    std::string_view to; // channel of the tap
};

std::vector<Route> routes(const Node& node, const std::vector<const Port*>& ports) {
    if (ports.empty()) return {};
    if (ports.size() == 1) return {{ports[0], "FL"}, {ports[0], "FR"}};
    std::vector<Route> all;
    if (node.formatChannels > 2) {
        for (std::size_t i = 0; i < ports.size(); ++i)
            all.push_back({ports[i], surroundChannel(ports[i]->channel, i)});
        return all;
    }
    const Port* const left = withChannel(ports, "FL");
    const Port* const right = withChannel(ports, "FR");
    if (left != nullptr && right != nullptr) return {{left, "FL"}, {right, "FR"}};
    return {{ports[0], "FL"}, {ports[1], "FR"}};
}

} // namespace

std::vector<TapLink> tapLinks(const Graph& graph, ObjectID tapNode) {
    std::vector<TapLink> links;
    for (const Node& node : graph.nodes) {
        if (!isPlayingApplication(node)) continue;
        for (const Route& route : routes(node, outputPorts(graph, node.id)))
            if (const Port* const input = inputPort(graph, tapNode, route.to))
                links.push_back({node.id, route.from->id, tapNode, input->id});
    }
    return links;
}

} // namespace pipewire

#include "platform/pipewire/graph.h"

#include <algorithm>

namespace pipewire {

namespace {

/// The PulseAudio interface puts this one in the place of a loudspeaker where there is none.
constexpr std::string_view standIn = "auto_null";

template <typename Matches>
const Node* findNodeIf(const Graph& graph, Matches&& matches) {
    const auto found = std::find_if(graph.nodes.begin(), graph.nodes.end(), matches);
    return found == graph.nodes.end() ? nullptr : &*found;
}

} // namespace

const Node* findNode(const Graph& graph, ObjectID id) {
    return findNodeIf(graph, [&](const Node& node) { return node.id == id; });
}

bool isMicrophone(const Node& node) {
    return node.mediaClass == "Audio/Source" || node.mediaClass == "Audio/Source/Virtual";
}

bool hasLoudspeaker(const Graph& graph) {
    const Node* const found = findNodeIf(graph, [](const Node& node) {
        return (node.mediaClass == "Audio/Sink" || node.mediaClass == "Audio/Duplex") && node.name != standIn;
    });
    return found != nullptr;
}

bool areDevicesKnown(const Graph& graph, std::chrono::steady_clock::time_point now) {
    constexpr auto timeToFindDevices = std::chrono::seconds(5);
    const auto isDevice = [](const std::string& name) { return !name.empty() && name != standIn; };
    if (isDevice(graph.defaultSource) || isDevice(graph.defaultSink)) return true;
    return graph.managerKnownSince && now - *graph.managerKnownSince >= timeToFindDevices;
}

const Node* findMicrophone(const Graph& graph, std::string_view name) {
    return findNodeIf(graph, [&](const Node& node) { return isMicrophone(node) && node.name == name; });
}

std::chrono::nanoseconds timeUntilManaged(const Graph& graph) {
    using std::chrono::nanoseconds;
    constexpr nanoseconds setUpTime = std::chrono::seconds(1);
    const auto now = std::chrono::steady_clock::now();
    if (!graph.managedSince || *graph.managedSince <= now - setUpTime) return nanoseconds::zero();
    return *graph.managedSince + setUpTime - now;
}

} // namespace pipewire

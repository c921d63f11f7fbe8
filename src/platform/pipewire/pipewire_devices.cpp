#include "platform/pipewire/pipewire_devices.h"

#include <algorithm>
#include <chrono>

using pipewire::Graph;
using pipewire::isMicrophone;
using pipewire::Node;
using pipewire::Port;

namespace {

bool isDevice(const Node& node) {
    return isMicrophone(node) || node.mediaClass == "Audio/Sink" || node.mediaClass == "Audio/Duplex";
}

const Node* findDevice(const Graph& graph, AudioDevices::DeviceID id) {
    const Node* const node = pipewire::findNode(graph, id);
    return node != nullptr && isDevice(*node) ? node : nullptr;
}

const Node* defaultMicrophone(const Graph& graph) {
    return pipewire::findMicrophone(graph, graph.defaultSource);
}

} // namespace

bool PipeWireDevices::areKnown() const {
    return m_graph.read(
        [](const Graph& graph) { return areDevicesKnown(graph, std::chrono::steady_clock::now()); });
}

std::vector<AudioDevices::DeviceID> PipeWireDevices::deviceIDs() const {
    return m_graph.read([](const Graph& graph) {
        std::vector<DeviceID> ids;
        for (const Node& node : graph.nodes)
            if (isDevice(node)) ids.push_back(node.id);
        return ids;
    });
}

std::optional<std::string> PipeWireDevices::uid(DeviceID device) const {
    return m_graph.read([&](const Graph& graph) -> std::optional<std::string> {
        if (const Node* const node = findDevice(graph, device)) return node->name;
        return std::nullopt;
    });
}

std::optional<std::string> PipeWireDevices::name(DeviceID device) const {
    return m_graph.read([&](const Graph& graph) -> std::optional<std::string> {
        if (const Node* const node = findDevice(graph, device)) return node->description;
        return std::nullopt;
    });
}

/// A device is one stream with a port per channel: a microphone gives through output ports, a loudspeaker
/// takes through input ports. A virtual microphone also takes, from programs that play into it, and its
/// output counts as a monitor of that; a loudspeaker's monitor is no microphone.
std::vector<std::uint32_t> PipeWireDevices::streamChannels(DeviceID device, Direction direction) const {
    return m_graph.read([&](const Graph& graph) -> std::vector<std::uint32_t> {
        const Node* const node = findDevice(graph, device);
        if (node == nullptr || (direction == Direction::output && isMicrophone(*node))) return {};
        const auto channels = std::count_if(graph.ports.begin(), graph.ports.end(), [&](const Port& port) {
            return port.node == device && port.isOutput == (direction == Direction::input) &&
                   (isMicrophone(*node) || !port.isMonitor);
        });
        if (channels == 0) return {};
        return {static_cast<std::uint32_t>(channels)};
    });
}

AudioDevices::DeviceID PipeWireDevices::defaultInputDevice() const {
    return m_graph.read([](const Graph& graph) {
        const Node* const node = defaultMicrophone(graph);
        return node != nullptr ? node->id : 0;
    });
}

double PipeWireDevices::nominalSampleRate(DeviceID device) const {
    return m_graph.read([&](const Graph& graph) {
        const Node* const node = findDevice(graph, device);
        return node != nullptr ? node->rate : 0.0;
    });
}

bool PipeWireDevices::setNominalSampleRate(DeviceID /*device*/, double /*rate*/) {
    return false;
}

std::vector<MicChoice> PipeWireDevices::microphones() const {
    return m_graph.read([](const Graph& graph) {
        std::vector<MicChoice> all;
        for (const Node& node : graph.nodes)
            if (isMicrophone(node)) all.push_back({node.name, node.description});
        return all;
    });
}

std::optional<std::string> PipeWireDevices::defaultMicrophoneID() const {
    return m_graph.read([](const Graph& graph) -> std::optional<std::string> {
        if (const Node* const node = defaultMicrophone(graph)) return node->name;
        return std::nullopt;
    });
}

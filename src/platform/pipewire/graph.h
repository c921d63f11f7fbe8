#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pipewire {

/// The sound server's number for one of its objects. Numbers of vanished objects are used again.
using ObjectID = std::uint32_t;

/// A device or an application's stream.
struct Node {
    ObjectID id = 0;
    std::string name;        ///< node.name: stays the same when a device is plugged in again
    std::string description; ///< what users read: node.description, else node.nick, else node.name
    std::string mediaClass;  ///< such as "Audio/Source" or "Stream/Output/Audio"

    // Known from the node itself, a moment after it was announced.
    bool infoKnown = false;
    std::string linkGroup;            ///< not empty for loopbacks, filters and the like
    std::uint32_t formatChannels = 0; ///< channels that the node plays or records; 0 while unknown
    double rate = 0;                  ///< hertz; 0 while unknown
};

struct Port {
    ObjectID id = 0;
    ObjectID node = 0;
    bool isOutput = false;
    bool isMonitor = false; ///< repeats what a loudspeaker plays
    std::string channel;    ///< audio.channel, such as "FL"
};

/// What the server has announced, in its order.
struct Graph {
    std::vector<Node> nodes;
    std::vector<Port> ports;
    std::string defaultSource; ///< node.name of the default microphone; empty when there is none
    std::string defaultSink;   ///< node.name of the default loudspeaker; empty when there is none

    /// Since when a session manager has looked after devices: it gives them ports and links streams. The
    /// beginning of time when it was there before us; nothing while there is none.
    std::optional<std::chrono::steady_clock::time_point> managedSince;
    /// Since when we have known of that session manager; nothing while there is none.
    std::optional<std::chrono::steady_clock::time_point> managerKnownSince;
};

/// Null when there is none.
const Node* findNode(const Graph& graph, ObjectID id);
/// A microphone, real or made by a program.
bool isMicrophone(const Node& node);
const Node* findMicrophone(const Graph& graph, std::string_view name);
bool hasLoudspeaker(const Graph& graph);
/// Whether what the graph holds is all there is. The session manager chooses defaults once it has brought the
/// devices in; one that has chosen none within five seconds has found no device. The stand-in for a missing
/// loudspeaker counts as none: it comes before the devices do.
bool areDevicesKnown(const Graph& graph, std::chrono::steady_clock::time_point now);
/// How long a session manager that is there still needs to set up devices. Audio that runs meanwhile keeps it
/// from doing so, for good. 0 also without one.
std::chrono::nanoseconds timeUntilManaged(const Graph& graph);
inline bool isManaged(const Graph& graph) {
    return graph.managedSince && timeUntilManaged(graph).count() == 0;
}

/// A graph that one thread changes and any thread reads.
class SharedGraph {
  public:
    /// Any thread: hands the graph to `look` and returns what that returns. Never waits for the server.
    template <typename Look>
    auto read(Look&& look) const {
        const std::lock_guard lock(m_mutex);
        return look(m_graph);
    }

    /// The changing thread only.
    template <typename Change>
    void change(Change&& change) {
        const std::lock_guard lock(m_mutex);
        change(m_graph);
    }
    /// The changing thread only.
    const Graph& current() const { return m_graph; }

  private:
    mutable std::mutex m_mutex;
    Graph m_graph;
};

} // namespace pipewire

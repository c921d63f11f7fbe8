#include "support/graph_conditions.h"
#include "support/mic_recording.h"
#include "support/tap_recording.h"

#include <filesystem>

namespace {

/// Of this process: "task" for threads, "fd" for descriptors.
std::ptrdiff_t count(const char* what) {
    const std::filesystem::directory_iterator entries(std::filesystem::path("/proc/self") / what);
    return std::distance(begin(entries), end(entries));
}

void recordBriefly(PipeWireConnection& connection) {
    MicRecording microphone(connection, "virtual_microphone");
    TapRecording system(connection);
    EXPECT_TRUE(microphone.heard().waitForSamples(1));
    EXPECT_TRUE(system.heard().waitForSamples(1));
}

bool hasOurNodes(const pipewire::Graph& graph) {
    for (const pipewire::Node& node : graph.nodes)
        if (node.name == testTapDevice.uid || node.name == "murmelo.microphone") return true;
    return false;
}

TEST(Leftovers, RecordingsLeaveNoNodeThreadOrDescriptor) {
    PipeWireConnection connection;
    recordBriefly(connection); // the library keeps what it loads for the first one
    const auto threads = count("task");
    const auto descriptors = count("fd");
    for (int i = 0; i < 50; ++i) recordBriefly(connection);
    EXPECT_TRUE(waitFor(connection, [](const pipewire::Graph& graph) { return !hasOurNodes(graph); }));
    EXPECT_EQ(count("task"), threads);
    // The server takes back the memory of an ended stream a moment later; 50 streams would leave 50.
    EXPECT_LE(count("fd"), descriptors + 10);
}

TEST(Leftovers, ConnectionsLeaveNoThreadOrDescriptor) {
    {
        recordBriefly(*std::make_unique<PipeWireConnection>());
    }
    const auto threads = count("task");
    const auto descriptors = count("fd");
    for (int i = 0; i < 10; ++i) {
        PipeWireConnection connection;
        recordBriefly(connection);
    }
    EXPECT_EQ(count("task"), threads);
    EXPECT_EQ(count("fd"), descriptors);
}

} // namespace

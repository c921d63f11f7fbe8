#include "platform/pipewire/graph.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using pipewire::Graph;

const auto begin = std::chrono::steady_clock::time_point(1000s);

Graph managed() {
    Graph graph;
    graph.managedSince = std::chrono::steady_clock::time_point::min();
    graph.managerKnownSince = begin;
    return graph;
}

TEST(Graph, DevicesAreKnownOnceADefaultIsChosen) {
    Graph graph = managed();
    EXPECT_FALSE(areDevicesKnown(graph, begin));
    graph.defaultSink = "loudspeaker";
    EXPECT_TRUE(areDevicesKnown(graph, begin));
    graph.defaultSink.clear();
    graph.defaultSource = "microphone";
    EXPECT_TRUE(areDevicesKnown(graph, begin));
}

TEST(Graph, ASessionManagerThatChoosesNothingForFiveSecondsHasFoundNoDevice) {
    const Graph graph = managed();
    EXPECT_FALSE(areDevicesKnown(graph, begin + 5s - 1ns));
    EXPECT_TRUE(areDevicesKnown(graph, begin + 5s));
}

TEST(Graph, TheStandInForAMissingLoudspeakerIsNoDevice) {
    Graph graph = managed();
    graph.defaultSink = "auto_null";
    graph.defaultSource = "auto_null"; // what the stand-in plays
    EXPECT_FALSE(areDevicesKnown(graph, begin + 4s));
    EXPECT_TRUE(areDevicesKnown(graph, begin + 5s));
}

TEST(Graph, WithoutASessionManagerNoDeviceIsKnown) {
    EXPECT_FALSE(areDevicesKnown(Graph(), begin + 1h));
}

} // namespace

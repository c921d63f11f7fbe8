#pragma once

#include "support/graph_conditions.h"
#include "support/running_program.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

/// What an application plays.
struct PlayedSound {
    std::vector<float> samples;    ///< interleaved
    int channels = 2;              ///< 1, 2 or 6
    int rate = 48000;              ///< hertz
    std::string properties = "{}"; ///< of its stream
    /// Repeats its first frame until it is told to begin.
    bool waits = false;
};

/// An application that plays a sound once, and silence after it until the end of the scope. It is never late,
/// however busy the machine is.
///
/// At the end of the scope the server knows it no more. PipeWire may lose a cycle for everybody when an
/// application comes or goes in the middle of it: let none do so while another one's sound is compared.
class TestPlayer {
  public:
    TestPlayer(PipeWireConnection& connection, const std::filesystem::path& folder, std::string name,
               const PlayedSound& sound)
        : m_connection(connection), m_name(std::move(name)), m_program(command(folder, sound)) {}
    ~TestPlayer() {
        m_program.end(SIGTERM);
        EXPECT_TRUE(waitFor(m_connection, [this](const pipewire::Graph& graph) {
            return std::none_of(graph.nodes.begin(), graph.nodes.end(),
                                [this](const pipewire::Node& node) { return node.name == m_name; });
        }));
    }
    /// Once its first frame was heard.
    void begin() { m_program.signal(SIGUSR1); }
    TestPlayer(const TestPlayer&) = delete;
    TestPlayer& operator=(const TestPlayer&) = delete;

  private:
    std::vector<std::string> command(const std::filesystem::path& folder, const PlayedSound& sound) const {
        const std::filesystem::path file = folder / (m_name + ".samples");
        std::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<const char*>(sound.samples.data()),
                   static_cast<std::streamsize>(sound.samples.size() * sizeof(float)));
        return {MURMELO_TEST_PLAYER,
                m_name,
                file.string(),
                std::to_string(sound.channels),
                std::to_string(sound.rate),
                sound.properties,
                sound.waits ? "when-told" : "at-once"};
    }

    PipeWireConnection& m_connection;
    std::string m_name;
    RunningProgram m_program;
};

#pragma once

#include "support/graph_conditions.h"
#include "support/running_program.h"

#include <csignal>
#include <gtest/gtest.h>
#include <string>

struct TestMicrophoneKind {
    std::string description = "Test Microphone";
    int channels = 1; ///< 1 or 2
    std::string nextDescription = {};
};

/// A microphone that is plugged in for this scope. It gives noiseAt(0), noiseAt(1)... on each channel, and
/// never skips a block, however busy the machine is.
class TestMicrophone {
  public:
    TestMicrophone(PipeWireConnection& connection, const std::string& name,
                   const TestMicrophoneKind& kind = {})
        : m_program({MURMELO_TEST_DEVICE, "microphone", name, kind.description, std::to_string(kind.channels),
                     "1500", kind.nextDescription}) {
        EXPECT_TRUE(waitForMicrophone(connection, name));
    }
    /// To the next description.
    void rename() { m_program.signal(SIGUSR1); }
    void unplug() { m_program.end(SIGKILL); }

  private:
    RunningProgram m_program;
};

/// A stereo loudspeaker that is plugged in for this scope. It never skips a block either.
class TestLoudspeaker {
  public:
    enum class Rank { isDefault, isOther };
    TestLoudspeaker(PipeWireConnection& connection, const std::string& name, Rank rank)
        : m_program({MURMELO_TEST_DEVICE, "loudspeaker", name, "Test Loudspeaker", "2",
                     rank == Rank::isDefault ? "3000" : "500"}) {
        EXPECT_TRUE(waitFor(connection, [&](const pipewire::Graph& graph) {
            return hasPorts(graph, name) && (rank == Rank::isOther || graph.defaultSink == name);
        }));
    }

  private:
    RunningProgram m_program;
};

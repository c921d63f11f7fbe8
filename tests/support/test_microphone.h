#pragma once

#include "support/graph_conditions.h"
#include "support/running_program.h"

#include <csignal>
#include <gtest/gtest.h>
#include <string>

/// A microphone with a clock of its own that is plugged in for this scope. It gives noiseAt(0), noiseAt(1)...
class TestMicrophone {
  public:
    TestMicrophone(PipeWireConnection& connection, const std::string& name,
                   const std::string& description = "Test Microphone",
                   const std::string& nextDescription = "")
        : m_program({MURMELO_TEST_MICROPHONE, name, description, nextDescription}) {
        EXPECT_TRUE(waitForMicrophone(connection, name));
    }
    void rename() { m_program.signal(SIGUSR1); }
    void unplug() { m_program.end(SIGKILL); }

  private:
    RunningProgram m_program;
};

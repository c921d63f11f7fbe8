#pragma once

#include "support/environment.h"
#include "support/running_program.h"
#include "support/temporary_folder.h"

#include <fstream>
#include <gtest/gtest.h>
#include <string>

/// Another sound session that a test may end and start again; connections made within the scope use it.
class PrivateSession {
  public:
    PrivateSession() { start(); }
    ~PrivateSession() { stop(); }
    PrivateSession(const PrivateSession&) = delete;
    PrivateSession& operator=(const PrivateSession&) = delete;

    void start() { EXPECT_EQ(RunningProgram({MURMELO_PRIVATE_SESSION, "start", folder()}).wait(), 0); }
    void stop() { EXPECT_EQ(RunningProgram({MURMELO_PRIVATE_SESSION, "stop", folder()}).wait(), 0); }

    /// Server or session manager die without a word.
    void killServer() { killProgram("pipewire"); }
    void killManager() { killProgram("wireplumber"); }
    /// The interface of PulseAudio dies, and with it the stand-in for a missing loudspeaker.
    void killPulse() { killProgram("pipewire-pulse"); }
    /// Another session manager; runs in the session's surroundings until it is ended.
    std::vector<std::string> manager() {
        return {"bash", "-c",
                "eval \"$('" MURMELO_PRIVATE_SESSION "' env '" + folder() + "')\"; exec wireplumber"};
    }

  private:
    void killProgram(const std::string& wanted) {
        std::ifstream processes(folder() + "/pids");
        pid_t process = 0;
        std::string started;
        std::string name;
        while (processes >> process >> started >> name)
            if (name == wanted) kill(process, SIGKILL);
    }
    std::string folder() const { return (m_folder / "s").string(); }

    TemporaryFolder m_folder;
    ScopedEnvironment m_runtime{"PIPEWIRE_RUNTIME_DIR", folder() + "/run"};
};

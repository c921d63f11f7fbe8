#pragma once

#include <cerrno>
#include <csignal>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

/// Another program, asked to end (SIGTERM) at the end of the scope. Its output goes where ours goes.
class RunningProgram {
  public:
    /// The program is looked for in PATH.
    explicit RunningProgram(std::vector<std::string> command) {
        std::vector<char*> arguments;
        arguments.reserve(command.size() + 1);
        for (std::string& argument : command) arguments.push_back(argument.data());
        arguments.push_back(nullptr);
        const int failure =
            posix_spawnp(&m_process, arguments[0], nullptr, nullptr, arguments.data(), environ);
        if (failure != 0) throw std::system_error(failure, std::generic_category(), command[0]);
    }
    ~RunningProgram() { end(SIGTERM); }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    /// Waits until it ends by itself; its exit status, or -1 after a signal.
    int wait() {
        if (m_process == 0) return m_status;
        int status = 0;
        while (waitpid(m_process, &status, 0) < 0 && errno == EINTR) {
        }
        m_process = 0;
        m_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return m_status;
    }

    void signal(int number) const {
        if (m_process != 0) kill(m_process, number);
    }

    void end(int number) {
        if (m_process == 0) return;
        kill(m_process, number);
        wait();
    }

  private:
    pid_t m_process = 0; // 0 once it has been waited for
    int m_status = -1;
};

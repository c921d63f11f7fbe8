#pragma once

#include "platform/posix/file_handle.h"

#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

/// How a child process and its output ended.
struct ChildEnd {
    enum class How {
        exited,      ///< by itself: `value` is its exit status
        signalled,   ///< by signal number `value`, not by us
        stopped,     ///< killed by us because a stop was requested
        lineTooLong, ///< killed by us because it wrote more than ChildProcess::longestLine without a line
                     ///< feed
    };
    How how;
    int value = 0;
    bool wholeLines = true; ///< false when the output ended within a line, which was not handed over
};

/// A program that runs beside us and answers in lines on its standard output.
///
/// It starts with default signals, an empty signal mask, its own process group and no descriptor of ours but
/// three pipes and the files that it is handed. Its standard input is a pipe that we never write to; it ends
/// when this process ends, whatever the reason, and the program is expected to end with it. One thread uses
/// one object; several objects at once are fine.
class ChildProcess {
  public:
    static constexpr std::size_t longestLine = 65536;
    static constexpr std::size_t keptErrors = 4096;

    /// The descriptor under which the program finds the first file that it is handed; the others follow.
    static constexpr int firstFile = 3;

    /// Hands the files over: they are no longer open here. Throws Error "posix" when the program cannot be
    /// started.
    ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                 std::vector<FileHandle> files = {});
    /// Kills and reaps what still runs, and everything that it started in its process group.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    using LineHandler = std::function<void(std::string_view line)>;

    /// Hands over each line of the program's output, without its line feed, as soon as it is there. Returns
    /// when the program has ended and everything it wrote was handed over; a stop request kills it within
    /// milliseconds. What the handler throws passes through; the destructor then ends the program. Called
    /// once. Throws Error "posix" when the system refuses.
    ChildEnd run(const LineHandler& handler, const std::stop_token& stop);

    /// The last keptErrors bytes that the program wrote to standard error, as far as run() has read them.
    const std::string& errors() const { return m_errors; }

  private:
    enum class Piece { some, none, ended, tooLong };

    Piece readOutput(const LineHandler& handler);
    Piece readErrors();
    /// Kills what is left of the process group, reaps the child and returns its wait status.
    int killAndReap() noexcept;

    pid_t m_pid = -1; ///< -1 once reaped
    FileHandle m_input;
    FileHandle m_output;
    FileHandle m_errorOutput;
    std::string m_line;
    std::string m_errors;
};

#include "platform/posix/child_process.h"

#include "base/error.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace {

struct Pipe {
    FileHandle readEnd;
    FileHandle writeEnd;
};

int checked(int result) {
    if (result < 0) throw Error::posix(errno);
    return result;
}

void checkSpawn(int errorNumber) {
    if (errorNumber != 0) throw Error::posix(errorNumber);
}

/// Away from the numbers that the child's copies get: one copy would take the place of what is to be copied
/// next. 0, 1 and 2 are free when our own standard streams are closed.
FileHandle notBelow(int lowest, FileHandle handle) {
    if (handle.get() >= lowest) return handle;
    return FileHandle(checked(::fcntl(handle.get(), F_DUPFD_CLOEXEC, lowest)));
}

/// Both ends not below that number.
Pipe makePipe(int lowest) {
    int ends[2];
    checked(::pipe2(ends, O_CLOEXEC));
    FileHandle readEnd(ends[0]);
    FileHandle writeEnd(ends[1]);
    return {notBelow(lowest, std::move(readEnd)), notBelow(lowest, std::move(writeEnd))};
}

class FileActions {
  public:
    FileActions() { checkSpawn(posix_spawn_file_actions_init(&m_actions)); }
    ~FileActions() { posix_spawn_file_actions_destroy(&m_actions); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    void duplicate(const FileHandle& from, int to) {
        checkSpawn(posix_spawn_file_actions_adddup2(&m_actions, from.get(), to));
    }
    void closeAllFrom(int descriptor) {
        checkSpawn(posix_spawn_file_actions_addclosefrom_np(&m_actions, descriptor));
    }
    const posix_spawn_file_actions_t* get() const { return &m_actions; }

  private:
    posix_spawn_file_actions_t m_actions{};
};

/// Default signals, empty mask, a process group of its own.
class SpawnAttributes {
  public:
    SpawnAttributes() {
        checkSpawn(posix_spawnattr_init(&m_attributes));
        sigset_t signals;
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&m_attributes, &signals);
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&m_attributes, &signals);
        posix_spawnattr_setpgroup(&m_attributes, 0);
        posix_spawnattr_setflags(&m_attributes,
                                 POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
    }
    ~SpawnAttributes() { posix_spawnattr_destroy(&m_attributes); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    const posix_spawnattr_t* get() const { return &m_attributes; }

  private:
    posix_spawnattr_t m_attributes{};
};

/// Readable when the process has ended, even while something that it started holds its pipes open.
FileHandle processDescriptor(pid_t pid) {
    return FileHandle(static_cast<int>(checked(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)))));
}

void setNonBlocking(const FileHandle& handle) {
    checked(::fcntl(handle.get(), F_SETFL, O_NONBLOCK));
}

} // namespace

ChildProcess::ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                           std::vector<FileHandle> files) {
    const int behindFiles = firstFile + static_cast<int>(files.size());
    for (FileHandle& file : files) file = notBelow(behindFiles, std::move(file));
    Pipe input = makePipe(behindFiles);
    Pipe output = makePipe(behindFiles);
    Pipe errors = makePipe(behindFiles);
    setNonBlocking(output.readEnd);
    setNonBlocking(errors.readEnd);

    FileActions actions;
    actions.duplicate(input.readEnd, STDIN_FILENO);
    actions.duplicate(output.writeEnd, STDOUT_FILENO);
    actions.duplicate(errors.writeEnd, STDERR_FILENO);
    for (int at = firstFile; const FileHandle& file : files) actions.duplicate(file, at++);
    actions.closeAllFrom(behindFiles);
    const SpawnAttributes attributes;

    std::string name = program;
    std::vector<std::string> values = arguments;
    std::vector<char*> pointers{name.data()};
    for (std::string& value : values) pointers.push_back(value.data());
    pointers.push_back(nullptr);

    m_input = std::move(input.writeEnd);
    m_output = std::move(output.readEnd);
    m_errorOutput = std::move(errors.readEnd);
    checkSpawn(posix_spawn(&m_pid, name.c_str(), actions.get(), attributes.get(), pointers.data(), environ));
}

ChildProcess::~ChildProcess() {
    if (m_pid > 0) killAndReap();
}

ChildEnd ChildProcess::run(const LineHandler& handler, const std::stop_token& stop) {
    const FileHandle stopped(checked(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)));
    const std::stop_callback wake(stop, [&stopped] { ::eventfd_write(stopped.get(), 1); });
    const FileHandle process = processDescriptor(m_pid);

    std::array<pollfd, 4> watched{{{stopped.get(), POLLIN, 0},
                                   {process.get(), POLLIN, 0},
                                   {m_output.get(), POLLIN, 0},
                                   {m_errorOutput.get(), POLLIN, 0}}};
    auto& [stopWatch, processWatch, outputWatch, errorWatch] = watched;
    const auto killedByUs = [this](ChildEnd::How how) {
        killAndReap();
        return ChildEnd{how, SIGKILL, m_line.empty()};
    };
    while (processWatch.revents == 0) {
        if (::poll(watched.data(), watched.size(), -1) < 0) {
            if (errno != EINTR) throw Error::posix(errno);
            continue;
        }
        if (stop.stop_requested()) return killedByUs(ChildEnd::How::stopped);
        if (errorWatch.revents != 0 && readErrors() == Piece::ended) errorWatch.fd = -1;
        if (outputWatch.revents == 0) continue;
        const Piece piece = readOutput(handler);
        if (piece == Piece::tooLong) return killedByUs(ChildEnd::How::lineTooLong);
        if (piece == Piece::ended) outputWatch.fd = -1;
    }

    ::kill(-m_pid, SIGKILL); // what it started and left behind must not keep writing
    while (readErrors() == Piece::some && !stop.stop_requested()) {
    }
    Piece piece = Piece::some;
    while (piece == Piece::some && !stop.stop_requested()) piece = readOutput(handler);
    if (stop.stop_requested()) return killedByUs(ChildEnd::How::stopped);
    if (piece == Piece::tooLong) return killedByUs(ChildEnd::How::lineTooLong);
    const int status = killAndReap();
    if (WIFSIGNALED(status)) return {ChildEnd::How::signalled, WTERMSIG(status), m_line.empty()};
    return {ChildEnd::How::exited, WEXITSTATUS(status), m_line.empty()};
}

ChildProcess::Piece ChildProcess::readOutput(const LineHandler& handler) {
    std::array<char, 4096> buffer;
    const ssize_t count = ::read(m_output.get(), buffer.data(), buffer.size());
    if (count < 0) return Piece::none;
    if (count == 0) return Piece::ended;
    std::string_view rest(buffer.data(), static_cast<std::size_t>(count));
    for (std::size_t feed = rest.find('\n'); feed != rest.npos; feed = rest.find('\n')) {
        m_line += rest.substr(0, feed);
        if (m_line.size() > longestLine) return Piece::tooLong;
        handler(m_line);
        m_line.clear();
        rest.remove_prefix(feed + 1);
    }
    m_line += rest;
    return m_line.size() > longestLine ? Piece::tooLong : Piece::some;
}

ChildProcess::Piece ChildProcess::readErrors() {
    std::array<char, 4096> buffer;
    const ssize_t count = ::read(m_errorOutput.get(), buffer.data(), buffer.size());
    if (count < 0) return Piece::none;
    if (count == 0) return Piece::ended;
    m_errors.append(buffer.data(), static_cast<std::size_t>(count));
    if (m_errors.size() > keptErrors) m_errors.erase(0, m_errors.size() - keptErrors);
    return Piece::some;
}

int ChildProcess::killAndReap() noexcept {
    const pid_t pid = std::exchange(m_pid, -1);
    ::kill(-pid, SIGKILL); // the whole group; one that has ended keeps its own exit status
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

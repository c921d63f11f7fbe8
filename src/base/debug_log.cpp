#include "base/debug_log.h"

#include "base/home_folder.h"
#include "base/private_files.h"

#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <unistd.h>
#include <utility>

namespace {

std::filesystem::path logFile(const std::filesystem::path& home) {
    return home / "Music/Murmelo/debug.log";
}

struct State {
    /// Calls share it: they write side by side. Replacing the surroundings waits for calls in flight.
    std::shared_mutex inUse;
    DebugLog::Surroundings surroundings = DebugLog::systemSurroundings();
    std::filesystem::path url = logFile(surroundings.home);
};

/// Never destroyed: the files of a recording may be closed, and that be logged, by a handler of exit().
State& state() {
    static State& instance = *new State;
    return instance;
}

std::string timestamp(std::chrono::system_clock::time_point now) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char text[64];
    const int length =
        std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d +0000", utc.tm_year + 1900,
                      utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec);
    return {text, static_cast<std::size_t>(length)};
}

void writeAll(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(fd, text.data(), text.size());
        if (written <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

bool append(const std::filesystem::path& file, std::string_view line) {
    // O_APPEND seeks and writes in one step, so that lines of several threads and programs stay whole.
    const int fd = openPrivateFile(file, O_WRONLY | O_APPEND);
    if (fd < 0) return false;
    writeAll(fd, line);
    ::close(fd);
    return true;
}

void create(const std::filesystem::path& file, std::string_view line) {
    createPrivateFolder(file.parent_path());
    const int fd = openPrivateFile(file, O_WRONLY | O_CREAT | O_TRUNC);
    if (fd < 0) return;
    writeAll(fd, line);
    ::close(fd);
}

} // namespace

void DebugLog::log(std::string_view message) noexcept {
    try {
        State& s = state();
        const std::shared_lock lock(s.inUse);
        const std::string line = timestamp(s.surroundings.now()) + " " + std::string(message) + "\n";
        if (!append(s.url, line)) create(s.url, line);
        if (s.surroundings.console) s.surroundings.console(message);
    } catch (...) { // out of memory: a log line is not worth a recording
        return;
    }
}

std::filesystem::path DebugLog::url() {
    const std::shared_lock lock(state().inUse);
    return state().url;
}

DebugLog::Surroundings DebugLog::replaceSurroundings(Surroundings next) {
    State& s = state();
    const std::unique_lock lock(s.inUse);
    s.url = logFile(next.home);
    return std::exchange(s.surroundings, std::move(next));
}

DebugLog::Console DebugLog::replaceConsole(Console next) {
    State& s = state();
    const std::unique_lock lock(s.inUse);
    return std::exchange(s.surroundings.console, std::move(next));
}

bool DebugLog::hasConsole() {
    const std::shared_lock lock(state().inUse);
    return static_cast<bool>(state().surroundings.console);
}

void DebugLog::writeToStandardError(std::string_view message) {
    writeAll(STDERR_FILENO, std::string(message) + "\n");
}

DebugLog::Surroundings DebugLog::systemSurroundings() {
    return {homeFolder(), [] { return std::chrono::system_clock::now(); }, writeToStandardError};
}

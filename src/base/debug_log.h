#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <string_view>

/// The process-wide diagnostic log: an append-only text file and an echo on the console.
///
/// One entry is one line, "2026-11-15 21:39:18 +0000 message". Nothing is kept open between calls, so the
/// user may delete the file at any time. Only its owner may read the file and the folders that it is created
/// with; an older file becomes so with the next line. Failures are never reported: a program that records
/// must not stop because its log cannot be written.
class DebugLog {
  public:
    /// Writes the message to the file and then, without the time, to the console if there is one. Any thread;
    /// never throws.
    static void log(std::string_view message) noexcept;

    /// <home>/Music/Murmelo/debug.log, computed once for a home.
    static std::filesystem::path url();

    /// Receives each bare message after it has been written to the file, on the thread that logs.
    using Console = std::function<void(std::string_view message)>;
    /// Where messages go besides the file, which the composition root decides: standard error unless this is
    /// called, nowhere when `next` is empty. Returns what was in place before; no call uses that any more
    /// then. Not from a console.
    static Console replaceConsole(Console next);
    static bool hasConsole();
    /// The console of systemSurroundings(): the message with a line feed, in one write.
    static void writeToStandardError(std::string_view message);

    /// What the log takes from its surroundings. Replaced by tests.
    struct Surroundings {
        std::filesystem::path home;
        std::function<std::chrono::system_clock::time_point()> now;
        Console console;
    };
    /// Returns what was in place before; no call uses that any more then. Not from `now` or `console`.
    static Surroundings replaceSurroundings(Surroundings next);
    static Surroundings systemSurroundings();
};

#pragma once

#include <chrono>

/// From now on FFmpeg's error messages are lines of the debug log, "[rec] <part of FFmpeg>: <message>", and
/// nothing of FFmpeg goes to standard error. Less serious messages are dropped. Any thread, any number of
/// times; FFmpeg has one log per process.
void sendFfmpegLogToDebugLog();

/// Keeps a damaged file from filling the log: a few lines a minute, then one that says so, then none.
class LineBudget {
  public:
    using Time = std::chrono::steady_clock::time_point;
    enum class Verdict { write, writeThatOthersAreDropped, drop };

    static constexpr int linesPerMinute = 10;

    Verdict next(Time now);

  private:
    Time m_minuteBegan{};
    int m_lines = 0; // asked for since then
};

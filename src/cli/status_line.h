#pragma once

#include "base/debug_log.h"

#include <mutex>
#include <string>
#include <string_view>

/// One line at the bottom of the terminal that is drawn again and again; log lines appear above it. Where
/// standard error is no terminal it shows nothing and changes nothing.
class StatusLine {
  public:
    StatusLine();
    ~StatusLine();
    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;

    /// Any thread.
    void show(const std::string& text);

  private:
    void printAbove(std::string_view message);

    const bool m_onTerminal;
    std::mutex m_mutex;
    std::string m_text; // guarded by m_mutex
    DebugLog::Surroundings m_previousLog;
};

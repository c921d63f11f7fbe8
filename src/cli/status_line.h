#pragma once

#include "base/debug_log.h"
#include "capture/notices.h"

#include <mutex>
#include <string>
#include <string_view>

/// One line at the bottom of the terminal that is drawn again and again. Notices appear above it, and so do
/// log lines if the log has a console. Where standard error is no terminal only the notices are written, and
/// the log's console stays as it is.
class StatusLine final : public Notices {
  public:
    StatusLine();
    ~StatusLine() override;
    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;

    /// Any thread. An empty text clears the line.
    void show(const std::string& text);
    void tell(const std::string& sentence) override;

  private:
    void printAbove(std::string_view message);

    const bool m_onTerminal;
    std::mutex m_mutex;
    std::string m_text; // guarded by m_mutex
    bool m_showsLog = false;
    DebugLog::Console m_previousConsole; // when it shows the log
};

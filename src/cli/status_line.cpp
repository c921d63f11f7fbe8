#include "cli/status_line.h"

#include <cstdio>
#include <unistd.h>
#include <utility>

namespace {

constexpr const char* clearLine = "\r\x1b[K"; // ECMA-48: back to column 1, erase to the end

void write(const std::string& text) {
    std::fputs(text.c_str(), stderr);
    std::fflush(stderr);
}

} // namespace

StatusLine::StatusLine() : m_onTerminal(isatty(STDERR_FILENO) != 0) {
    m_showsLog = m_onTerminal && DebugLog::hasConsole();
    if (m_showsLog)
        m_previousConsole =
            DebugLog::replaceConsole([this](std::string_view message) { printAbove(message); });
}

StatusLine::~StatusLine() {
    if (m_showsLog) DebugLog::replaceConsole(std::move(m_previousConsole));
    if (m_onTerminal) write(clearLine);
}

void StatusLine::show(const std::string& text) {
    if (!m_onTerminal) return;
    const std::lock_guard lock(m_mutex);
    m_text = text;
    write(clearLine + m_text);
}

void StatusLine::tell(const std::string& sentence) {
    printAbove(sentence);
}

void StatusLine::printAbove(std::string_view message) {
    const std::lock_guard lock(m_mutex);
    write((m_onTerminal ? clearLine : "") + std::string(message) + "\n" + m_text);
}

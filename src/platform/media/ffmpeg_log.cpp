#include "platform/media/ffmpeg_log.h"

#include "base/debug_log.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>

extern "C" {
#include <libavutil/log.h>
}

namespace {

/// FFmpeg writes a line in pieces; the pieces of several threads must not mix.
struct PartialLine {
    std::string text;
    static PartialLine& ofThisThread() {
        thread_local PartialLine line;
        return line;
    }
};

void writeLine(const std::string& line) {
    static std::mutex mutex;
    static LineBudget budget;
    LineBudget::Verdict verdict{};
    {
        const std::lock_guard lock(mutex);
        verdict = budget.next(std::chrono::steady_clock::now());
    }
    if (verdict == LineBudget::Verdict::drop) return;
    DebugLog::log("[rec] " + line);
    if (verdict == LineBudget::Verdict::writeThatOthersAreDropped)
        DebugLog::log("[rec] more messages of FFmpeg are left out for a minute");
}

std::string partName(void* object) {
    const AVClass* const part = object != nullptr ? *static_cast<AVClass**>(object) : nullptr;
    return part != nullptr ? part->item_name(object) : "ffmpeg";
}

void receive(void* object, int level, const char* format, va_list arguments) noexcept {
    if ((level & 0xff) > AV_LOG_ERROR) return;
    try {
        char piece[1024];
        if (std::vsnprintf(piece, sizeof piece, format, arguments) < 0) return;
        std::string& line = PartialLine::ofThisThread().text;
        for (const char* c = piece; *c != '\0'; ++c) {
            if (line.empty()) line = partName(object) + ": ";
            if (*c == '\n') {
                writeLine(line);
                line.clear();
            } else {
                line += *c < ' ' ? '?' : *c; // messages quote bytes of the file, control characters too
            }
        }
        if (line.size() > sizeof piece) line.clear(); // a line that never ends
    } catch (...) {                                   // out of memory: a log line is not worth a recording
        return;
    }
}

} // namespace

void sendFfmpegLogToDebugLog() {
    av_log_set_callback(receive);
}

LineBudget::Verdict LineBudget::next(Time now) {
    if (m_lines == 0 || now - m_minuteBegan >= std::chrono::minutes(1)) {
        m_minuteBegan = now;
        m_lines = 0;
    }
    ++m_lines;
    if (m_lines < linesPerMinute) return Verdict::write;
    if (m_lines == linesPerMinute) return Verdict::writeThatOthersAreDropped;
    m_lines = linesPerMinute + 1; // does not overflow, however damaged the file
    return Verdict::drop;
}

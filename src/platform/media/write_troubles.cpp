#include "platform/media/write_troubles.h"

#include "base/debug_log.h"
#include "base/error.h"
#include "base/number_text.h"
#include "platform/media/aac_encoder.h"
#include "platform/posix/output_file.h"

#include <cerrno>
#include <utility>

namespace {

std::string explained(const Error& reason) {
    if (reason.domain() == "posix" && reason.code() == EDQUOT) return "Your share of the disk is used up";
    if (reason.domain() == "posix" && isFull(reason.code())) return "The disk is full";
    return "The disk does not take the recording (" + reason.localizedDescription() + ")";
}

} // namespace

WriteTroubles::WriteTroubles(Notice notice) : m_notice(std::move(notice)) {}

void WriteTroubles::fileEnded(const std::filesystem::path& file, const Error& reason, std::uint64_t frames) {
    const std::string length = minutesAndSeconds(static_cast<double>(frames) / AacEncoder::sampleRate);
    DebugLog::log("[rec] " + file.filename().string() + " ends at " + length + ": " + reason.printed());
    tellEnd(file, explained(reason) + ". The recording ends at " + length +
                      ", and everything up to there is saved.");
}

void WriteTroubles::closingFailed(const std::filesystem::path& file, const Error& reason) {
    DebugLog::log("[rec] closing " + file.filename().string() + " failed: " + reason.printed());
    tellEnd(file, "The end of the recording could not be written: " + reason.localizedDescription() + ".");
}

void WriteTroubles::notOnDisk(const std::filesystem::path& file, const Error& reason) {
    const std::string name = file.filename().string();
    if (reason.code() == ENOENT) {
        DebugLog::log("[rec] " + name + " was deleted while it was recorded");
        warn(file, name + " was deleted while it was being recorded. Stop and start again to lose no more.");
        return;
    }
    DebugLog::log("[rec] " + name + " may not be on the disk: " + reason.printed());
    warn(file,
         reason.code() == ETIMEDOUT
             ? "The disk has not answered for half a minute. The recording goes on, but a power cut would "
               "take this part of it."
             : "The disk does not confirm what is recorded: " + reason.localizedDescription() + ".");
}

void WriteTroubles::warn(const std::filesystem::path& file, const std::string& sentence) {
    {
        const std::lock_guard lock(m_mutex);
        if (std::exchange(m_warned, file.parent_path()) == file.parent_path()) return;
    }
    if (m_notice) m_notice(sentence);
}

void WriteTroubles::tellEnd(const std::filesystem::path& file, const std::string& sentence) {
    {
        const std::lock_guard lock(m_mutex);
        m_warned = file.parent_path();
        if (std::exchange(m_ended, file.parent_path()) == file.parent_path()) return;
    }
    if (m_notice) m_notice(sentence);
}

#include "platform/media/write_troubles.h"

#include "base/debug_log.h"
#include "base/error.h"
#include "base/number_text.h"
#include "platform/media/aac_encoder.h"
#include "platform/posix/output_file.h"

#include <utility>

WriteTroubles::WriteTroubles(Notice notice) : m_notice(std::move(notice)) {}

void WriteTroubles::fileEnded(const std::filesystem::path& file, const Error& reason, std::uint64_t frames) {
    const std::string length = minutesAndSeconds(static_cast<double>(frames) / AacEncoder::sampleRate);
    DebugLog::log("[rec] " + file.filename().string() + " ends at " + length + ": " + reason.printed());
    const std::string why =
        reason.domain() == "posix" && isFull(reason.code())
            ? "The disk is full"
            : "The disk does not take the recording (" + reason.localizedDescription() + ")";
    tell(file, why + ". The recording ends at " + length + ", and everything up to there is saved.");
}

void WriteTroubles::closingFailed(const std::filesystem::path& file, const Error& reason) {
    DebugLog::log("[rec] closing " + file.filename().string() + " failed: " + reason.printed());
    tell(file, "The end of the recording could not be written: " + reason.localizedDescription() + ".");
}

void WriteTroubles::notOnDisk(const std::filesystem::path& file, const Error& reason) {
    DebugLog::log("[rec] " + file.filename().string() + " may not be on the disk: " + reason.printed());
    tell(file, "The disk does not confirm what is recorded: " + reason.localizedDescription() + ".");
}

void WriteTroubles::tell(const std::filesystem::path& file, const std::string& sentence) {
    {
        const std::lock_guard lock(m_mutex);
        const std::filesystem::path recording = file.parent_path();
        if (m_told == recording) return;
        m_told = recording;
    }
    if (m_notice) m_notice(sentence);
}

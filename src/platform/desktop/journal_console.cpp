#include "platform/desktop/journal_console.h"

#define SD_JOURNAL_SUPPRESS_LOCATION // the same place in this file for every message
#include <array>
#include <string>
#include <sys/uio.h>
#include <systemd/sd-journal.h>
#include <unistd.h>
#include <utility>

namespace {

bool writeToJournal(std::string_view message) {
    std::string identifier = "SYSLOG_IDENTIFIER=murmelo";
    std::string priority = "PRIORITY=6";
    std::string text = "MESSAGE=" + std::string(message);
    std::array<iovec, 3> fields{};
    std::size_t count = 0;
    for (std::string* field : {&identifier, &priority, &text})
        fields[count++] = {field->data(), field->size()};
    return sd_journal_sendv(fields.data(), static_cast<int>(fields.size())) == 0;
}

} // namespace

DebugLog::Console journalConsole(std::filesystem::path socket) {
    return [socket = std::move(socket)](std::string_view message) {
        // sd_journal_sendv() reports success where there is no socket.
        const bool hasJournal = ::access(socket.c_str(), W_OK) == 0;
        if (!hasJournal || !writeToJournal(message)) DebugLog::writeToStandardError(message);
    };
}

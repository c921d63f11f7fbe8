#pragma once

#include "base/debug_log.h"

#include <filesystem>

/// The console of the debug log for a program that is started from a desktop: each message becomes an entry
/// of the systemd journal with the identifier "murmelo" and the priority 6 (informational). A message that
/// the journal does not take, or for which there is no journal, is written to standard error.
///
/// `socket` is where the journal listens. Any thread may call the result.
DebugLog::Console journalConsole(std::filesystem::path socket = "/run/systemd/journal/socket");

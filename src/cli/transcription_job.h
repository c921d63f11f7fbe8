#pragma once

#include "cli/status_line.h"
#include "cli/termination_signals.h"
#include "transcription/transcriber.h"

#include <filesystem>

/// Transcribes the recording in the folder, with progress on the terminal; a termination signal cancels.
/// Returns the transcript's path; throws Error.
std::filesystem::path transcribeOnTerminal(Transcriber& transcriber, TerminationSignals& signals,
                                           StatusLine& line, const std::filesystem::path& folder);

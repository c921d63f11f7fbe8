#pragma once

#include "cli/exit_status.h"
#include "json/json.h"

#include <string>

/// Writes to standard output. Failed, with a sentence on standard error, when it is closed or full.
[[nodiscard]] ExitStatus printResult(const std::string& text);

/// What --json prints.
std::string jsonResult(const Json& value);

/// Writes the sentence to standard error.
ExitStatus reportFailure(const std::string& sentence);

/// Says on standard error where help is, after what was wrong.
ExitStatus reportUsage(const std::string& sentence);

#pragma once

#include <optional>
#include <string_view>

/// What every worker program has to do with its parent.

/// The descriptor of a file that the parent has handed over, from an argument of the command line. Nothing
/// when it is no number or belongs to a standard stream.
std::optional<int> descriptorFrom(std::string_view argument);

/// Ends the process at once when its standard input ends, because then nobody waits for the answer any more.
/// On a thread of its own.
void endWithStandardInput();

/// Throws Error "posix".
void writeToStandardOutput(std::string_view line);

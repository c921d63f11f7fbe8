#pragma once

#include <string>
#include <vector>

/// Texts as a list for the log: ["Desk \"A\"", "Headset"]. Backslash, double quote and control characters are
/// escaped as \\ \" \n \r \t \0 and \u{1B}; everything else stays as it is. Without texts: [].
std::string quotedList(const std::vector<std::string>& texts);

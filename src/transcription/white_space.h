#pragma once

#include <string_view>

/// `text` (UTF-8) without the white space and line breaks of Unicode at both ends. Bytes that are not UTF-8
/// are not white space.
std::string_view trimWhiteSpace(std::string_view text);

#include "base/quoted_list.h"

#include <string_view>

namespace {

std::string escaped(char c) {
    switch (c) {
    case '\\':
        return "\\\\";
    case '"':
        return "\\\"";
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    case '\0':
        return "\\0";
    default:
        break;
    }
    constexpr std::string_view digits = "0123456789ABCDEF";
    const auto code = static_cast<unsigned char>(c);
    if (code >= 0x20 && code != 0x7f) return {c};
    return std::string("\\u{") + digits[code / 16] + digits[code % 16] + "}";
}

} // namespace

std::string quotedList(const std::vector<std::string>& texts) {
    std::string list = "[";
    for (const std::string& text : texts) {
        if (list.size() > 1) list += ", ";
        list += '"';
        for (const char c : text) list += escaped(c);
        list += '"';
    }
    return list + "]";
}

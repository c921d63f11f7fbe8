#include "transcription/locale.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

Locale::Locale(std::string identifier) : m_identifier(std::move(identifier)) {}

Locale Locale::current() {
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(variable);
        if (value == nullptr || *value == '\0') continue;
        const std::string_view whole = value; // language[_territory][.charset][@modifier]
        const std::string_view name = whole.substr(0, whole.find_first_of(".@"));
        if (name.empty() || name == "C" || name == "POSIX") break;
        return Locale(std::string(name));
    }
    return Locale("en_US");
}

std::string Locale::bcp47() const {
    std::string tag = m_identifier;
    std::replace(tag.begin(), tag.end(), '_', '-');
    return tag;
}

std::optional<std::string> Locale::languageCode() const {
    std::string code = m_identifier.substr(0, m_identifier.find_first_of("_-"));
    if (code.empty()) return std::nullopt;
    return code;
}

#pragma once

#include <nlohmann/json.hpp>
#include <string>

/// For scripts. Bytes that are no UTF-8 (a path may hold them) become replacement characters.
inline std::string jsonText(const nlohmann::ordered_json& value) {
    return value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

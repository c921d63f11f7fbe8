#include "speech_worker/protocol.h"

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

namespace protocol {
namespace {

using Json = nlohmann::json;

Json number(double value) {
    return std::isfinite(value) ? Json(value) : Json(nullptr);
}

Json object(const Utterance& utterance) {
    return {{"start", number(utterance.start)}, {"end", number(utterance.end)}, {"text", utterance.text}};
}

Json object(const End& end) {
    return {{"lastSampleTime", end.lastSampleTime ? number(*end.lastSampleTime) : Json(nullptr)}};
}

Json object(const Failure& failure) {
    return {{"error", failure.description}};
}

std::optional<double> optionalNumber(const Json& message, const char* key) {
    const Json& value = message.at(key);
    if (value.is_null()) return std::nullopt;
    if (!value.is_number()) throw Violation(std::string(key) + " is not a number");
    return value.get<double>();
}

std::string text(const Json& message, const char* key) {
    const Json& value = message.at(key);
    if (!value.is_string()) throw Violation(std::string(key) + " is not a text");
    return value.get<std::string>();
}

} // namespace

std::string line(const Message& message) {
    const Json json = std::visit([](const auto& m) { return object(m); }, message);
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

Message parse(std::string_view line) {
    const Json json = Json::parse(line, nullptr, false);
    if (!json.is_object()) throw Violation("not a JSON object");
    const int kinds =
        int(json.contains("text")) + int(json.contains("lastSampleTime")) + int(json.contains("error"));
    if (kinds != 1) throw Violation("not one kind of message");
    if (json.contains("error")) return Failure{text(json, "error")};
    if (json.contains("lastSampleTime")) return End{optionalNumber(json, "lastSampleTime")};
    if (!json.contains("start") || !json.contains("end")) throw Violation("an utterance without its times");
    constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
    return Utterance{optionalNumber(json, "start").value_or(unknown),
                     optionalNumber(json, "end").value_or(unknown), text(json, "text")};
}

} // namespace protocol

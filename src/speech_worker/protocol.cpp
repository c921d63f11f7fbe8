#include "speech_worker/protocol.h"

#include "json/json.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace protocol {
namespace {

Json::Object object(const Utterance& utterance) {
    return {{"end", utterance.end}, {"start", utterance.start}, {"text", utterance.text}};
}

Json::Object object(const End& end) {
    return {{"lastSampleTime", end.lastSampleTime ? Json(*end.lastSampleTime) : Json()}};
}

Json::Object object(const Failure& failure) {
    return {{"error", failure.description}};
}

Json::Object object(const Length& length) {
    return {{"frames", static_cast<std::uint64_t>(length.frames)}, {"sampleRate", length.sampleRate}};
}

std::optional<double> optionalNumber(const Json& value, const char* key) {
    if (value.isNull()) return std::nullopt;
    if (const std::optional<double> number = value.number()) return number;
    throw Violation(std::string(key) + " is not a number");
}

std::string text(const Json& value, const char* key) {
    if (const auto* text = value.as<std::string>()) return *text;
    throw Violation(std::string(key) + " is not a text");
}

Length length(const Json& frames, const Json* sampleRate) {
    constexpr std::uint64_t most = std::numeric_limits<std::int64_t>::max();
    const auto* count = frames.as<std::uint64_t>();
    if (count == nullptr || *count > most) throw Violation("frames is not a count");
    const double rate = sampleRate != nullptr ? optionalNumber(*sampleRate, "sampleRate").value_or(0) : 0;
    if (!(rate >= 1)) throw Violation("a length without its sample rate");
    return {static_cast<std::int64_t>(*count), rate};
}

} // namespace

std::string line(const Message& message) {
    const Json json = std::visit([](const auto& m) { return object(m); }, message);
    return json.text(Json::Layout::line) + "\n";
}

Message parse(std::string_view line) {
    const std::optional<Json> json = Json::parse(line);
    if (!json || json->as<Json::Object>() == nullptr) throw Violation("not a JSON object");
    const Json* const words = json->find("text");
    const Json* const lastSampleTime = json->find("lastSampleTime");
    const Json* const error = json->find("error");
    const Json* const frames = json->find("frames");
    const std::array kinds{words, lastSampleTime, error, frames};
    if (std::count(kinds.begin(), kinds.end(), nullptr) != kinds.size() - 1)
        throw Violation("not one kind of message");
    if (error != nullptr) return Failure{text(*error, "error")};
    if (lastSampleTime != nullptr) return End{optionalNumber(*lastSampleTime, "lastSampleTime")};
    if (frames != nullptr) return length(*frames, json->find("sampleRate"));
    const Json* const start = json->find("start");
    const Json* const end = json->find("end");
    if (start == nullptr || end == nullptr) throw Violation("an utterance without its times");
    constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
    return Utterance{optionalNumber(*start, "start").value_or(unknown),
                     optionalNumber(*end, "end").value_or(unknown), text(*words, "text")};
}

} // namespace protocol

#include "base/number_text.h"

#include <array>
#include <charconv>
#include <cinttypes>
#include <cmath>
#include <cstdio>

namespace {

// The largest double has 309 digits before the point, the smallest 1074 behind it.
using Buffer = std::array<char, 1500>;

template <typename Number>
std::string shortest(Number value) {
    Buffer buffer;
    const auto end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed);
    std::string text(buffer.data(), end.ptr);
    if (std::isfinite(value) && text.find('.') == std::string::npos) text += ".0";
    return text;
}

} // namespace

std::string shortestDecimal(double value) {
    return shortest(value);
}

std::string shortestDecimal(float value) {
    return shortest(value);
}

std::string fixedDecimal(double value, int digits) {
    Buffer buffer;
    const auto end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, digits);
    return {buffer.data(), end.ptr};
}

std::string minutesAndSeconds(double seconds) {
    const auto whole = static_cast<std::int64_t>(seconds);
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%02" PRId64 ":%02" PRId64, whole / 60, whole % 60);
    return text.data();
}

#include "base/number_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>

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
    const auto twoDigits = [](std::int64_t number) {
        return (number < 10 ? "0" : "") + std::to_string(number);
    };
    return twoDigits(whole / 60) + ":" + twoDigits(whole % 60);
}

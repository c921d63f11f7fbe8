#include "capture/mic_choice.h"

#include <algorithm>
#include <string_view>

namespace {

char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isLoopbackDriver(const MicChoice& mic) {
    constexpr std::string_view driver = "blackhole";
    return std::search(mic.name.begin(), mic.name.end(), driver.begin(), driver.end(),
                       [](char in, char wanted) { return asciiLower(in) == wanted; }) != mic.name.end();
}

} // namespace

std::size_t std::hash<MicChoice>::operator()(const MicChoice& mic) const noexcept {
    const std::size_t id = std::hash<std::string>{}(mic.id);
    return id ^ (std::hash<std::string>{}(mic.name) + 0x9e3779b97f4a7c15 + (id << 6) + (id >> 2));
}

std::vector<MicChoice> offeredMics(std::vector<MicChoice> mics) {
    std::erase_if(mics, isLoopbackDriver);
    return mics;
}

std::optional<std::string> automaticMicID(const std::vector<MicChoice>& offered,
                                          const std::optional<std::string>& defaultID) {
    const auto isDefault = [&](const MicChoice& mic) { return mic.id == defaultID; };
    if (defaultID && std::any_of(offered.begin(), offered.end(), isDefault)) return defaultID;
    if (offered.empty()) return std::nullopt;
    return offered.front().id;
}

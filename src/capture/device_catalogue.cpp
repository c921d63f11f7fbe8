#include "capture/device_catalogue.h"

#include <algorithm>
#include <locale>
#include <numeric>
#include <stdexcept>

namespace {

std::locale userLocale() {
    try {
        return std::locale("");
    } catch (const std::runtime_error&) { // named in the environment but not installed
        return std::locale::classic();
    }
}

/// UTF-8 to code points; bytes that are no UTF-8 stand for themselves.
std::wstring codePoints(const std::string& text) {
    std::wstring result;
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const std::size_t length = lead < 0x80    ? 1
                                   : lead >= 0xf0 ? 4
                                   : lead >= 0xe0 ? 3
                                   : lead >= 0xc0 ? 2
                                                  : 0;
        std::uint32_t code = length < 2 ? lead : lead & (0xffU >> (length + 1));
        std::size_t used = 1;
        for (; used < length && i + used < text.size(); ++used) {
            const auto next = static_cast<unsigned char>(text[i + used]);
            if ((next & 0xc0) != 0x80) break;
            code = code << 6 | (next & 0x3f);
        }
        const bool whole = used == std::max<std::size_t>(length, 1);
        result += static_cast<wchar_t>(whole ? code : lead);
        i += whole ? used : 1;
    }
    return result;
}

/// Text of which plain comparison gives the locale's case-insensitive order.
std::wstring sortKey(const std::string& name, const std::locale& locale) {
    std::wstring text = codePoints(name);
    std::use_facet<std::ctype<wchar_t>>(locale).tolower(text.data(), text.data() + text.size());
    return std::use_facet<std::collate<wchar_t>>(locale).transform(text.data(), text.data() + text.size());
}

} // namespace

std::size_t std::hash<InputDevice>::operator()(const InputDevice& device) const noexcept {
    std::size_t result = std::hash<std::uint32_t>{}(device.id);
    for (const std::size_t part :
         {std::hash<std::string>{}(device.uid), std::hash<std::string>{}(device.name),
          std::hash<std::int64_t>{}(device.inputChannels)})
        result ^= part + 0x9e3779b97f4a7c15 + (result << 6) + (result >> 2);
    return result;
}

std::vector<std::uint32_t> DeviceCatalogue::allDeviceIDs() const {
    return m_devices.deviceIDs();
}

std::optional<std::string> DeviceCatalogue::string(std::uint32_t device, StringProperty property) const {
    return property == StringProperty::uid ? m_devices.uid(device) : m_devices.name(device);
}

std::int64_t DeviceCatalogue::channelCount(std::uint32_t device, AudioDevices::Direction scope) const {
    const std::vector<std::uint32_t> streams = m_devices.streamChannels(device, scope);
    return std::accumulate(streams.begin(), streams.end(), std::int64_t{0});
}

std::vector<InputDevice> DeviceCatalogue::inputDevices() const {
    const std::locale locale = userLocale();
    std::vector<std::pair<std::wstring, InputDevice>> kept;
    for (const std::uint32_t id : allDeviceIDs()) {
        const std::int64_t channels = channelCount(id, AudioDevices::Direction::input);
        if (channels < 1) continue;
        InputDevice device{id, string(id, StringProperty::uid).value_or(""),
                           string(id, StringProperty::name).value_or(""), channels};
        if (device.uid.empty() || device.name.empty()) continue;
        kept.emplace_back(sortKey(device.name, locale), std::move(device));
    }
    std::stable_sort(kept.begin(), kept.end(),
                     [](const auto& one, const auto& other) { return one.first < other.first; });
    std::vector<InputDevice> devices;
    devices.reserve(kept.size());
    for (auto& [key, device] : kept) devices.push_back(std::move(device));
    return devices;
}

std::uint32_t DeviceCatalogue::defaultInputDeviceID() const {
    return m_devices.defaultInputDevice();
}

double DeviceCatalogue::nominalSampleRate(std::uint32_t device) const {
    return m_devices.nominalSampleRate(device);
}

bool DeviceCatalogue::setNominalSampleRate(std::uint32_t device, double rate) {
    return m_devices.setNominalSampleRate(device, rate);
}

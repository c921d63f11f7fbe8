#pragma once

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>

/// Writes interleaved 32-bit float samples as a WAVE file. `channelMask` says where each channel sounds
/// (SPEAKER_FRONT_LEFT = 1, ...); 0 leaves that open.
inline void writeWav(const std::filesystem::path& path, std::span<const float> samples,
                     std::uint16_t channels, std::uint32_t rate, std::uint32_t channelMask = 0) {
    std::string header;
    const auto put = [&](auto value) {
        header.append(sizeof value, '\0');
        std::memcpy(header.data() + header.size() - sizeof value, &value, sizeof value);
    };
    const auto frameBytes = static_cast<std::uint16_t>(channels * sizeof(float));
    const auto dataBytes = static_cast<std::uint32_t>(samples.size_bytes());
    constexpr std::uint16_t extensible = 0xfffe;
    // The sub-format "IEEE float" behind the valid bits and the channel mask.
    const std::string floatFormat("\x03\0\0\0\0\0\x10\0\x80\0\0\xaa\0\x38\x9b\x71", 16);

    header += "RIFF";
    put(60 + dataBytes);
    header += "WAVEfmt ";
    put(std::uint32_t{40});
    put(extensible);
    put(channels);
    put(rate);
    put(rate * frameBytes);
    put(frameBytes);
    put(std::uint16_t{32});
    put(std::uint16_t{22});
    put(std::uint16_t{32});
    put(channelMask);
    header += floatFormat + "data";
    put(dataBytes);

    std::ofstream file(path, std::ios::binary);
    file << header;
    file.write(reinterpret_cast<const char*>(samples.data()), static_cast<std::streamsize>(dataBytes));
}

#pragma once

#include "platform/media/aac_file_writer.h"
#include "support/temporary_folder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <numbers>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

/// Speech for tests, synthesised and recorded as Murmelo records: 16 kHz mono samples in, a 48 kHz AAC file
/// out.

/// One sentence by a voice of flite, with the silence that it puts around it.
inline std::vector<float> spoken(const std::string& voice, const std::string& sentence) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "speech.wav";
    const std::string command =
        "flite -voice " + voice + " -t \"" + sentence + "\" -o '" + file.string() + "' </dev/null";
    if (std::system(command.c_str()) != 0) throw std::runtime_error(command);
    const std::string wave = contentOf(file);
    const std::size_t data = wave.find("data") + 8; // RIFF: tag, length, 16-bit samples
    if (data + 2 > wave.size() || wave.compare(24, 4, std::string("\x80\x3E\0\0", 4)) != 0)
        throw std::runtime_error("not a wave file of 16 kHz: " + command);
    std::vector<float> samples((wave.size() - data) / 2);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        std::int16_t sample = 0;
        std::memcpy(&sample, wave.data() + data + 2 * i, 2);
        samples[i] = static_cast<float>(sample) / 32768.0F;
    }
    return samples;
}

/// Where speech begins, in seconds: the first of three 10 ms frames within so many decibels of the loudest
/// one.
inline double onsetOf(std::span<const float> samples, double decibels = 30) {
    std::vector<double> energies;
    for (std::size_t at = 0; at + 160 <= samples.size(); at += 160) {
        double sum = 0;
        for (const float sample : samples.subspan(at, 160)) sum += static_cast<double>(sample) * sample;
        energies.push_back(sum);
    }
    const double threshold =
        *std::max_element(energies.begin(), energies.end()) * std::pow(10, -decibels / 10);
    for (std::size_t i = 0; i + 2 < energies.size(); ++i)
        if (energies[i] > threshold && energies[i + 1] > threshold && energies[i + 2] > threshold)
            return static_cast<double>(i) / 100;
    throw std::runtime_error("no onset");
}

/// Three times as many samples, by a windowed sinc with its zeros on the given samples.
inline std::vector<float> atThreefoldRate(std::span<const float> samples) {
    constexpr int reach = 24;
    constexpr double pi = std::numbers::pi;
    std::vector<float> result(samples.size() * 3);
    std::array<std::array<float, std::size_t{2} * reach>, 3> weights{};
    for (int phase = 0; phase < 3; ++phase)
        for (int tap = 0; tap < 2 * reach; ++tap) {
            const double distance = phase / 3.0 - (tap - reach + 1);
            const double sinc = distance == 0 ? 1 : std::sin(pi * distance) / (pi * distance);
            weights[phase][tap] =
                static_cast<float>(sinc * std::pow(std::cos(pi * distance / 2 / (reach + 1)), 2));
        }
    for (std::size_t i = 0; i < result.size(); ++i)
        for (int tap = 0; tap < 2 * reach; ++tap) {
            const auto from = static_cast<std::ptrdiff_t>(i / 3) + tap - reach + 1;
            if (from >= 0 && from < std::ssize(samples)) result[i] += weights[i % 3][tap] * samples[from];
        }
    return result;
}

/// Writes 16 kHz samples as a finished recording with equal channels.
inline void record(const std::filesystem::path& file, std::span<const float> samples) {
    const std::vector<float> fast = atThreefoldRate(samples);
    const auto writer = AacFileWriterFactory().create(file, AudioFileSettings{});
    const std::span<const float> all(fast);
    for (std::size_t at = 0; at < all.size(); at += 4800) {
        const auto block = all.subspan(at, std::min<std::size_t>(4800, all.size() - at));
        writer->write(block, block);
    }
}

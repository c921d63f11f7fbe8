#include "capture/test_tone.h"

#include <cmath>
#include <numbers>
#include <string_view>

namespace {

constexpr std::uint32_t sampleRate = 48000; // hertz
constexpr std::uint32_t sampleCount = sampleRate / 2;
constexpr std::uint16_t channels = 1;
constexpr std::uint16_t bytesPerSample = 2;
constexpr double amplitude = 1638.35;

class WavFile {
  public:
    void tag(std::string_view text) { m_bytes.insert(m_bytes.end(), text.begin(), text.end()); }
    void number(std::uint32_t value) { littleEndian(value, 4); }
    void number(std::uint16_t value) { littleEndian(value, 2); }
    std::vector<std::uint8_t> take() { return std::move(m_bytes); }

  private:
    void littleEndian(std::uint32_t value, int size) {
        for (int i = 0; i < size; ++i) m_bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }

    std::vector<std::uint8_t> m_bytes;
};

std::int16_t sample(std::uint32_t i) {
    return static_cast<std::int16_t>(std::sin(i * (2 * std::numbers::pi * testToneFrequency) / sampleRate) *
                                     amplitude);
}

} // namespace

std::vector<std::uint8_t> testToneFile() {
    constexpr std::uint32_t dataSize = sampleCount * bytesPerSample;
    constexpr std::uint32_t sizeAfterRiff = 36 + dataSize;
    constexpr std::uint32_t formatSize = 16;
    constexpr std::uint16_t integerPcm = 1;

    WavFile file;
    file.tag("RIFF");
    file.number(sizeAfterRiff);
    file.tag("WAVE");
    file.tag("fmt ");
    file.number(formatSize);
    file.number(integerPcm);
    file.number(channels);
    file.number(sampleRate);
    file.number(sampleRate * channels * bytesPerSample);
    file.number(static_cast<std::uint16_t>(channels * bytesPerSample));
    file.number(static_cast<std::uint16_t>(bytesPerSample * 8));
    file.tag("data");
    file.number(dataSize);
    for (std::uint32_t i = 0; i < sampleCount; ++i) file.number(static_cast<std::uint16_t>(sample(i)));
    return file.take();
}

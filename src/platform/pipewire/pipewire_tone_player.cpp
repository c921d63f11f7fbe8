#include "platform/pipewire/pipewire_tone_player.h"

#include "base/error.h"
#include "platform/pipewire/playback_stream.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <spa/param/audio/raw.h>
#include <vector>

using pipewire::PlaybackStream;

namespace {

/// The head of a WAV file (RIFF WAVE, format chunk of 16 bytes) that is played: integer PCM, one channel,
/// 48000 Hz, 96000 bytes a second, 2 bytes a frame, 16 bits. The sizes may be any.
constexpr std::size_t headSize = 44;
constexpr int any = -1;
constexpr std::array<int, headSize> expectedHead{'R', 'I', 'F',  'F',  any, any, any,  any,  'W',  'A', 'V',
                                                 'E', 'f', 'm',  't',  ' ', 16,  0,    0,    0,    1,   0,
                                                 1,   0,   0x80, 0xbb, 0,   0,   0x00, 0x77, 0x01, 0,   2,
                                                 0,   16,  0,    'd',  'a', 't', 'a',  any,  any,  any, any};

bool isPlayable(std::span<const std::uint8_t> wavFile) {
    return wavFile.size() > headSize &&
           std::equal(expectedHead.begin(), expectedHead.end(), wavFile.begin(),
                      [](int expected, std::uint8_t byte) { return expected == any || expected == byte; });
}

std::vector<float> samplesOf(std::span<const std::uint8_t> wavFile, float volume) {
    const std::span<const std::uint8_t> data = wavFile.subspan(headSize);
    std::vector<float> samples(data.size() / 2);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const auto bits = static_cast<std::uint16_t>(data[2 * i] | data[2 * i + 1] << 8); // little-endian
        samples[i] = static_cast<float>(static_cast<std::int16_t>(bits)) / 32768.0F * volume;
    }
    return samples;
}

class PipeWireTonePlayer final : public TonePlayer {
  public:
    PipeWireTonePlayer(PipeWireConnection& connection, std::shared_ptr<pipewire::Server> server,
                       std::vector<float> samples)
        : m_stream(connection, std::move(server),
                   {"murmelo.test-tone", "Murmelo Test Tone", {SPA_AUDIO_CHANNEL_MONO}}, std::move(samples)) {
    }

    void play() override { m_stream.start(); }
    void stop() noexcept override { m_stream.stop(); }

  private:
    PlaybackStream m_stream;
};

} // namespace

std::unique_ptr<TonePlayer> PipeWireTonePlayerFactory::make(std::span<const std::uint8_t> wavFile,
                                                            float volume) {
    if (!isPlayable(wavFile)) return nullptr;
    const PipeWireConnection::Connected connected = m_connection.connect();
    if (!connected.server) return nullptr;
    // Without one a stream still runs, as silent as it would be in the room, but the tap would hear it.
    if (!m_connection.graph().read(pipewire::hasLoudspeaker)) return nullptr;
    try {
        return std::make_unique<PipeWireTonePlayer>(m_connection, connected.server,
                                                    samplesOf(wavFile, volume));
    } catch (const Error&) {
        return nullptr;
    }
}

// An application that plays one sound and then silence, until it is ended:
//     test_player NAME FILE CHANNELS RATE PROPERTIES at-once|when-told
// FILE holds the samples as bare 32-bit floats, interleaved; CHANNELS is 1, 2 or 6 (front left, front right,
// centre, low frequencies, rear left, rear right). PROPERTIES are further properties of its stream, such as
// "{ target.object = test_headphones }". With when-told it repeats the first frame until it receives SIGUSR1.
// The samples are in memory before the stream exists.

#include "support/playing_application.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <spa/param/audio/raw.h>
#include <utility>

namespace {

class TestPlayer final : public PlayingApplication {
  public:
    TestPlayer(std::vector<float> samples, bool begins) : m_samples(std::move(samples)), m_begins(begins) {
        pw_loop_add_signal(loop(), SIGUSR1, onBegin, this);
    }

  private:
    void fill(std::span<float> block) override {
        if (m_begins) return play(block);
        for (std::size_t i = 0; i < block.size(); ++i) block[i] = m_samples[i % channels()];
    }

    void play(std::span<float> block) {
        const std::size_t sounding = std::min(block.size(), m_samples.size() - m_next);
        std::copy_n(m_samples.data() + m_next, sounding, block.begin());
        std::fill(block.begin() + static_cast<std::ptrdiff_t>(sounding), block.end(), 0.0F);
        m_next += sounding;
    }

    static void onBegin(void* self, int /*signal*/) { static_cast<TestPlayer*>(self)->m_begins = true; }

    const std::vector<float> m_samples;
    std::size_t m_next = 0; // sample
    std::atomic<bool> m_begins;
};

std::vector<float> samplesOf(const std::filesystem::path& file) {
    std::vector<float> samples(std::filesystem::file_size(file) / sizeof(float));
    std::ifstream(file, std::ios::binary)
        .read(reinterpret_cast<char*>(samples.data()),
              static_cast<std::streamsize>(samples.size() * sizeof(float)));
    return samples;
}

std::vector<std::uint32_t> positionsOf(std::size_t channels) {
    if (channels == 1) return {SPA_AUDIO_CHANNEL_MONO};
    std::vector<std::uint32_t> positions{SPA_AUDIO_CHANNEL_FL,  SPA_AUDIO_CHANNEL_FR, SPA_AUDIO_CHANNEL_FC,
                                         SPA_AUDIO_CHANNEL_LFE, SPA_AUDIO_CHANNEL_RL, SPA_AUDIO_CHANNEL_RR};
    positions.resize(channels);
    return positions;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 7) {
        std::cerr << "usage: test_player NAME FILE CHANNELS RATE PROPERTIES at-once|when-told\n";
        return 2;
    }
    TestPlayer player(samplesOf(arguments[2]), arguments[6] == std::string("at-once"));
    return player.run(arguments[1], positionsOf(static_cast<std::size_t>(std::atoi(arguments[3]))),
                      static_cast<std::uint32_t>(std::atoi(arguments[4])), arguments[5]);
}

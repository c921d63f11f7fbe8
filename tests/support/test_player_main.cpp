// An application that plays one sound and then silence, until it is ended:
//     test_player NAME FILE CHANNELS RATE PROPERTIES at-once|when-told
// FILE holds the samples as bare 32-bit floats, interleaved; CHANNELS is 1, 2 or 6 (front left, front right,
// centre, low frequencies, rear left, rear right). PROPERTIES are further properties of its stream, such as
// "{ target.object = test_headphones }". With when-told it repeats the first frame until it receives SIGUSR1.
// The samples are in memory before the stream exists, and the real-time thread hands them over within the
// cycle that asks for them. Players that are fed by their main thread, such as pw-cat, put silence into the
// middle of their sound when that thread has to wait for a processor.

#include "platform/pipewire/calls.h"
#include "platform/pipewire/handles.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <spa/param/audio/raw.h>
#include <span>
#include <string>
#include <vector>

namespace {

struct MainLoopDeleter {
    void operator()(pw_main_loop* loop) const { pw_main_loop_destroy(loop); }
};

struct Player {
    std::unique_ptr<pw_main_loop, MainLoopDeleter> loop{pw_main_loop_new(nullptr)};
    std::vector<float> samples;
    std::size_t next = 0; // sample
    std::atomic<bool> begins = false;
    std::size_t channels = 0;
    pipewire::StreamHandle stream;
    pw_stream* raw = nullptr; // for the real-time thread

    static void onProcess(void* self) {
        auto& player = *static_cast<Player*>(self);
        pw_buffer* const buffer = pw_stream_dequeue_buffer(player.raw);
        if (buffer == nullptr) return;
        player.fill(buffer->buffer->datas[0], buffer->requested);
        pw_stream_queue_buffer(player.raw, buffer);
    }

    /// `requested` in frames, 0 when the server leaves it open.
    void fill(const spa_data& data, std::uint64_t requested) {
        const std::size_t frameBytes = channels * sizeof(float);
        const std::uint64_t room = data.maxsize / frameBytes;
        const std::size_t wanted = channels * (requested != 0 ? std::min(requested, room) : room);
        const std::span<float> block(static_cast<float*>(data.data), wanted);
        if (begins)
            play(block);
        else
            for (std::size_t i = 0; i < wanted; ++i) block[i] = samples[i % channels];
        data.chunk->offset = 0;
        data.chunk->stride = static_cast<std::int32_t>(frameBytes);
        data.chunk->size = static_cast<std::uint32_t>(wanted * sizeof(float));
    }

    void play(std::span<float> block) {
        const std::size_t sounding = std::min(block.size(), samples.size() - next);
        std::copy_n(samples.data() + next, sounding, block.begin());
        std::fill(block.begin() + static_cast<std::ptrdiff_t>(sounding), block.end(), 0.0F);
        next += sounding;
    }

    static void onBegin(void* self, int /*signal*/) { static_cast<Player*>(self)->begins = true; }

    static void onEnd(void* self, int /*signal*/) {
        pw_main_loop_quit(static_cast<Player*>(self)->loop.get());
    }
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
    const pipewire::Library library;
    Player player;
    player.samples = samplesOf(arguments[2]);
    player.channels = static_cast<std::size_t>(std::atoi(arguments[3]));
    const auto rate = static_cast<std::uint32_t>(std::atoi(arguments[4]));
    player.begins = arguments[6] == std::string("at-once");
    pw_loop* const loop = pw_main_loop_get_loop(player.loop.get());
    pw_loop_add_signal(loop, SIGTERM, Player::onEnd, &player);
    pw_loop_add_signal(loop, SIGUSR1, Player::onBegin, &player);
    pw_properties* const properties = pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY,
                                                        "Playback", PW_KEY_NODE_NAME, arguments[1], nullptr);
    const std::string more = arguments[5];
    pw_properties_update_string(properties, more.data(), more.size());

    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.process = Player::onProcess;
    player.stream.reset(pw_stream_new_simple(loop, arguments[1], properties, &events, &player));
    player.raw = player.stream.get();
    std::vector<std::uint8_t> memory;
    const spa_pod* format = pipewire::buildFloatFormat(positionsOf(player.channels), memory, rate);
    constexpr auto flags = static_cast<pw_stream_flags>(
        PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS);
    if (!player.raw || pw_stream_connect(player.raw, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, &format, 1) < 0) {
        std::cerr << "test_player: there is no sound server\n";
        return 1;
    }
    pw_main_loop_run(player.loop.get());
    return 0;
}

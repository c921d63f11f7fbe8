// An application that plays playedMarks (see time_marks.h) until it is ended.

#include "platform/pipewire/calls.h"
#include "platform/pipewire/handles.h"
#include "support/time_marks.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <iostream>
#include <memory>
#include <spa/param/audio/raw.h>
#include <vector>

namespace {

constexpr double frameNanoseconds = 1e9 / 48000;

struct MainLoopDeleter {
    void operator()(pw_main_loop* loop) const { pw_main_loop_destroy(loop); }
};

struct Player {
    std::unique_ptr<pw_main_loop, MainLoopDeleter> loop{pw_main_loop_new(nullptr)};
    pipewire::StreamHandle stream;
    pw_stream* raw = nullptr; // for the real-time thread
    double next = 0;          // time of the next frame

    static void onProcess(void* self) {
        auto& player = *static_cast<Player*>(self);
        pw_buffer* const buffer = pw_stream_dequeue_buffer(player.raw);
        if (buffer == nullptr) return;
        player.followClock();
        const spa_data& data = buffer->buffer->datas[0];
        const auto room = static_cast<std::uint64_t>(data.maxsize / (2 * sizeof(float)));
        const std::uint64_t frames = buffer->requested != 0 ? std::min(buffer->requested, room) : room;
        auto* sample = static_cast<float*>(data.data);
        for (std::uint64_t i = 0; i < frames; ++i, player.next += frameNanoseconds)
            sample = std::fill_n(sample, 2, playedMarks.at(player.next));
        data.chunk->offset = 0;
        data.chunk->stride = 2 * sizeof(float);
        data.chunk->size = static_cast<std::uint32_t>(frames * 2 * sizeof(float));
        pw_stream_queue_buffer(player.raw, buffer);
    }

    /// Smoothly, except after a gap.
    void followClock() {
        pw_time time{};
        if (pw_stream_get_time_n(raw, &time, sizeof time) < 0) return;
        const double late = static_cast<double>(time.now) - next;
        constexpr double gap = 15e6;
        next += late > gap || late < -gap ? late : late / 16;
    }

    static void onEnd(void* self, int /*signal*/) {
        pw_main_loop_quit(static_cast<Player*>(self)->loop.get());
    }
};

} // namespace

int main() {
    const pipewire::Library library;
    Player player;
    pw_loop* const loop = pw_main_loop_get_loop(player.loop.get());
    pw_loop_add_signal(loop, SIGTERM, Player::onEnd, &player);
    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.process = Player::onProcess;
    player.stream.reset(pw_stream_new_simple(
        loop, "clicking player",
        pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback", nullptr), &events,
        &player));
    player.raw = player.stream.get();
    const std::vector<std::uint32_t> positions{SPA_AUDIO_CHANNEL_FL, SPA_AUDIO_CHANNEL_FR};
    std::vector<std::uint8_t> memory;
    const spa_pod* format = pipewire::buildFloatFormat(positions, memory);
    constexpr auto flags = static_cast<pw_stream_flags>(
        PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS);
    if (!player.raw || pw_stream_connect(player.raw, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, &format, 1) < 0) {
        std::cerr << "clicking_player: there is no sound server\n";
        return 1;
    }
    pw_main_loop_run(player.loop.get());
    return 0;
}

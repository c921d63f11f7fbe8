// A microphone that can be plugged in (start this program) and unplugged (end it):
//     test_microphone NAME DESCRIPTION [NEW-DESCRIPTION]
// It has a clock of its own, which drives whoever records from it, and gives noiseAt(0), noiseAt(1), ...
// With NEW-DESCRIPTION it is renamed when it receives SIGUSR1.

#include "platform/pipewire/calls.h"
#include "platform/pipewire/handles.h"
#include "support/test_signal.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <iostream>
#include <memory>
#include <spa/param/audio/raw.h>
#include <vector>

namespace {

constexpr std::uint32_t blockFrames = 1024;
constexpr std::int64_t blockNanoseconds = blockFrames * INT64_C(1000000000) / 48000;

struct MainLoopDeleter {
    void operator()(pw_main_loop* loop) const { pw_main_loop_destroy(loop); }
};

struct Microphone {
    std::unique_ptr<pw_main_loop, MainLoopDeleter> loop;
    pipewire::StreamHandle stream;
    pw_stream* raw = nullptr; // for the real-time thread
    spa_source* timer = nullptr;
    timespec nextBlock{};
    std::uint64_t position = 0;
    const char* newDescription = nullptr;

    pw_loop* events() const { return pw_main_loop_get_loop(loop.get()); }

    void awaitNextBlock() {
        nextBlock.tv_nsec += blockNanoseconds;
        if (nextBlock.tv_nsec >= 1000000000) {
            nextBlock.tv_nsec -= 1000000000;
            nextBlock.tv_sec += 1;
        }
        pw_loop_update_timer(events(), timer, &nextBlock, nullptr, true);
    }

    static void onTime(void* self, std::uint64_t /*expirations*/) {
        auto& mic = *static_cast<Microphone*>(self);
        if (pw_stream_is_driving(mic.raw)) pw_stream_trigger_process(mic.raw);
        mic.awaitNextBlock();
    }

    static void onProcess(void* self) {
        auto& mic = *static_cast<Microphone*>(self);
        pw_buffer* const buffer = pw_stream_dequeue_buffer(mic.raw);
        if (buffer == nullptr) return;
        const spa_data& data = buffer->buffer->datas[0];
        const std::uint32_t frames = std::min<std::uint32_t>(data.maxsize / sizeof(float), blockFrames);
        auto* const samples = static_cast<float*>(data.data);
        for (std::uint32_t i = 0; i < frames; ++i) samples[i] = noiseAt(mic.position++, 0);
        data.chunk->offset = 0;
        data.chunk->stride = sizeof(float);
        data.chunk->size = frames * sizeof(float);
        pw_stream_queue_buffer(mic.raw, buffer);
    }

    static void onEnd(void* self, int /*signal*/) {
        pw_main_loop_quit(static_cast<Microphone*>(self)->loop.get());
    }

    static void onRename(void* self, int /*signal*/) {
        auto& mic = *static_cast<Microphone*>(self);
        const spa_dict_item item{PW_KEY_NODE_DESCRIPTION, mic.newDescription};
        const spa_dict changed{0, 1, &item};
        pw_stream_update_properties(mic.raw, &changed);
    }
};

} // namespace

int main(int count, char** arguments) {
    if (count < 3) {
        std::cerr << "usage: test_microphone NAME DESCRIPTION [NEW-DESCRIPTION]\n";
        return 2;
    }
    const pipewire::Library library;
    Microphone mic;
    if (count > 3) mic.newDescription = arguments[3];
    mic.loop.reset(pw_main_loop_new(nullptr));
    pw_loop_add_signal(mic.events(), SIGTERM, Microphone::onEnd, &mic);
    pw_loop_add_signal(mic.events(), SIGUSR1, Microphone::onRename, &mic);
    mic.timer = pw_loop_add_timer(mic.events(), Microphone::onTime, &mic);

    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.process = Microphone::onProcess;
    mic.stream.reset(pw_stream_new_simple(
        mic.events(), arguments[1],
        pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CLASS, "Audio/Source", PW_KEY_NODE_NAME,
                          arguments[1], PW_KEY_NODE_DESCRIPTION, arguments[2], PW_KEY_PRIORITY_SESSION,
                          "1500", PW_KEY_PRIORITY_DRIVER, "1500", PW_KEY_NODE_AUTOCONNECT, "false",
                          PW_KEY_NODE_LATENCY, "1024/48000", nullptr),
        &events, &mic));
    mic.raw = mic.stream.get();
    std::vector<std::uint8_t> memory;
    const std::uint32_t mono = SPA_AUDIO_CHANNEL_MONO;
    const spa_pod* format = pipewire::buildFloatFormat({&mono, 1}, memory);
    constexpr auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_MAP_BUFFERS |
                                                        PW_STREAM_FLAG_RT_PROCESS | PW_STREAM_FLAG_DRIVER);
    if (!mic.stream || pw_stream_connect(mic.raw, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, &format, 1) < 0) {
        std::cerr << "test_microphone: there is no sound server\n";
        return 1;
    }
    clock_gettime(CLOCK_MONOTONIC, &mic.nextBlock);
    mic.awaitNextBlock();
    pw_main_loop_run(mic.loop.get());
    return 0;
}

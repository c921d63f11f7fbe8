// A microphone or a loudspeaker that can be plugged in (start this program) and unplugged (end it):
//     test_device microphone|loudspeaker NAME DESCRIPTION CHANNELS PRIORITY [NEW-DESCRIPTION]
// A microphone gives noiseAt(0), noiseAt(1), ... on each of its one or two channels. The device has a clock
// of its own, which drives whoever uses it and is patient: however busy the machine is, the next block waits
// until everybody has dealt with the last one, so that none is skipped. With NEW-DESCRIPTION it is renamed
// when it receives SIGUSR1.
//     test_device clicking-microphone NAME DESCRIPTION CHANNELS PRIORITY "" RATE PPM
// A microphone that gives voiceMarks (see time_marks.h). Its clock runs at that rate and so much faster; it
// catches up after blocks that had to wait, and tells when they were due.

#include "platform/pipewire/calls.h"
#include "platform/pipewire/handles.h"
#include "support/test_signal.h"
#include "support/time_marks.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <memory>
#include <spa/param/audio/raw.h>
#include <string>
#include <vector>

namespace {

constexpr std::uint32_t blockFrames = 1024;

struct MainLoopDeleter {
    void operator()(pw_main_loop* loop) const { pw_main_loop_destroy(loop); }
};

struct Device {
    std::unique_ptr<pw_main_loop, MainLoopDeleter> loop;
    pipewire::StreamHandle stream;
    pw_stream* raw = nullptr; // for the real-time thread
    spa_source* timer = nullptr;
    timespec nextBlock{};
    bool isStreaming = false; // else nobody deals with a block
    double blockStarted = 0;  // nanoseconds of the monotonic clock
    std::atomic<bool> blockUnderWay = false;
    std::uint64_t position = 0;
    bool isMicrophone = true;
    bool clicks = false;
    std::uint32_t rate = 48000;
    double frameNanoseconds = 1e9 / 48000;
    double due = 0; // when the next block is complete
    std::atomic<double> blockBegin = 0;
    spa_io_clock* clock = nullptr;
    std::uint32_t channels = 1;
    const char* newDescription = nullptr;

    pw_loop* events() const { return pw_main_loop_get_loop(loop.get()); }

    void awaitNextBlock() {
        nextBlock.tv_nsec += static_cast<long>(blockFrames * frameNanoseconds) / (clicks ? 4 : 1);
        if (nextBlock.tv_nsec >= 1000000000) {
            nextBlock.tv_nsec -= 1000000000;
            nextBlock.tv_sec += 1;
        }
        pw_loop_update_timer(events(), timer, &nextBlock, nullptr, true);
    }

    static void onTime(void* self, std::uint64_t /*expirations*/) {
        auto& device = *static_cast<Device*>(self);
        device.startBlock();
        device.awaitNextBlock();
    }

    void startBlock() {
        const double now = monotonicTime();
        // A user that comes or goes in the middle of a block may keep it from being finished. Everybody else
        // finishes it, sooner or later. Time is measured, not counted in ticks: those of a time without a
        // processor come all at once.
        if (blockUnderWay && now - blockStarted < patience()) return;
        if (!isStreaming || !pw_stream_is_driving(raw)) return;
        if (clicks && !tellTime(now)) return;
        blockStarted = now;
        blockUnderWay = true;
        pw_stream_trigger_process(raw);
    }

    /// In nanoseconds. A recorder takes a microphone that is silent for long for one that is gone, and clicks
    /// need not be exact: they tell the time.
    double patience() const { return clicks ? 0.5e9 : isMicrophone ? 2e9 : 10e9; }

    /// In nanoseconds.
    static double monotonicTime() {
        timespec time{};
        clock_gettime(CLOCK_MONOTONIC, &time);
        return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
    }

    /// False when the next block is not complete yet.
    bool tellTime(double now) {
        if (now - due > 1e9) due = now; // nobody listened, or too long to catch up
        if (due > now) return false;
        if (clock != nullptr) {
            clock->nsec = static_cast<std::uint64_t>(due);
            clock->rate = SPA_FRACTION(1, rate);
            clock->position += blockFrames;
            clock->duration = blockFrames;
            clock->rate_diff = 1;
            clock->next_nsec = static_cast<std::uint64_t>(due + blockFrames * frameNanoseconds);
        }
        blockBegin = due - blockFrames * frameNanoseconds;
        due += blockFrames * frameNanoseconds;
        return true;
    }

    static void onIo(void* self, std::uint32_t id, void* area, std::uint32_t /*size*/) {
        if (id == SPA_IO_Clock) static_cast<Device*>(self)->clock = static_cast<spa_io_clock*>(area);
    }

    /// What a pause interrupts is never done.
    static void onStateChanged(void* self, pw_stream_state /*before*/, pw_stream_state now,
                               const char* /*error*/) {
        auto& device = *static_cast<Device*>(self);
        device.isStreaming = now == PW_STREAM_STATE_STREAMING;
        device.blockUnderWay = false;
    }

    static void onBlockDone(void* self) { static_cast<Device*>(self)->blockUnderWay = false; }

    static void onProcess(void* self) {
        auto& device = *static_cast<Device*>(self);
        pw_buffer* const buffer = pw_stream_dequeue_buffer(device.raw);
        if (buffer == nullptr) return;
        if (device.isMicrophone) device.fill(*buffer);
        pw_stream_queue_buffer(device.raw, buffer);
    }

    void fill(const pw_buffer& buffer) {
        const spa_data& data = buffer.buffer->datas[0];
        const std::uint32_t frameBytes = channels * sizeof(float);
        // Exactly what the server's resampler asks for, where there is one: what it leaves of a block keeps
        // the block under way, and the next one waits for nothing until patience ends.
        const auto wanted =
            buffer.requested != 0 ? static_cast<std::uint32_t>(buffer.requested) : blockFrames;
        const std::uint32_t frames = std::min(data.maxsize / frameBytes, wanted);
        auto* sample = static_cast<float*>(data.data);
        const double begin = blockBegin;
        for (std::uint32_t i = 0; i < frames; ++i, ++position)
            sample = std::fill_n(sample, channels,
                                 clicks ? voiceMarks.at(begin + i * frameNanoseconds) : noiseAt(position, 0));
        data.chunk->offset = 0;
        data.chunk->stride = static_cast<std::int32_t>(frameBytes);
        data.chunk->size = frames * frameBytes;
    }

    static void onEnd(void* self, int /*signal*/) {
        pw_main_loop_quit(static_cast<Device*>(self)->loop.get());
    }

    static void onRename(void* self, int /*signal*/) {
        auto& device = *static_cast<Device*>(self);
        const spa_dict_item item{PW_KEY_NODE_DESCRIPTION, device.newDescription};
        const spa_dict changed{0, 1, &item};
        pw_stream_update_properties(device.raw, &changed);
    }
};

} // namespace

int main(int count, char** arguments) {
    if (count < 6) {
        std::cerr << "usage: test_device KIND NAME DESCRIPTION CHANNELS PRIORITY [NEW-DESCRIPTION]\n";
        return 2;
    }
    const pipewire::Library library;
    Device device;
    device.clicks = arguments[1] == std::string("clicking-microphone");
    device.isMicrophone = device.clicks || arguments[1] == std::string("microphone");
    const char* const name = arguments[2];
    const char* const description = arguments[3];
    device.channels = arguments[4] == std::string("2") ? 2 : 1;
    const char* const priority = arguments[5];
    if (count > 6) device.newDescription = arguments[6];
    if (count > 8) {
        device.rate = static_cast<std::uint32_t>(std::atoi(arguments[7]));
        device.frameNanoseconds = 1e9 / device.rate / (1 + std::atof(arguments[8]) * 1e-6);
    }

    device.loop.reset(pw_main_loop_new(nullptr));
    pw_loop_add_signal(device.events(), SIGTERM, Device::onEnd, &device);
    pw_loop_add_signal(device.events(), SIGUSR1, Device::onRename, &device);
    device.timer = pw_loop_add_timer(device.events(), Device::onTime, &device);

    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.process = Device::onProcess;
    events.trigger_done = Device::onBlockDone;
    events.state_changed = Device::onStateChanged;
    events.io_changed = Device::onIo;
    device.stream.reset(pw_stream_new_simple(
        device.events(), name,
        pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CLASS,
                          device.isMicrophone ? "Audio/Source" : "Audio/Sink", PW_KEY_NODE_NAME, name,
                          PW_KEY_NODE_DESCRIPTION, description, PW_KEY_PRIORITY_SESSION, priority,
                          PW_KEY_PRIORITY_DRIVER, priority, PW_KEY_NODE_AUTOCONNECT, "false",
                          PW_KEY_NODE_LATENCY, ("1024/" + std::to_string(device.rate)).c_str(), nullptr),
        &events, &device));
    device.raw = device.stream.get();
    std::vector<std::uint8_t> memory;
    const std::vector<std::uint32_t> mono{SPA_AUDIO_CHANNEL_MONO};
    const std::vector<std::uint32_t> stereo{SPA_AUDIO_CHANNEL_FL, SPA_AUDIO_CHANNEL_FR};
    const spa_pod* format =
        pipewire::buildFloatFormat(device.channels == 2 ? stereo : mono, memory, device.rate);
    constexpr auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_MAP_BUFFERS |
                                                        PW_STREAM_FLAG_RT_PROCESS | PW_STREAM_FLAG_DRIVER);
    const auto direction = device.isMicrophone ? PW_DIRECTION_OUTPUT : PW_DIRECTION_INPUT;
    if (!device.stream || pw_stream_connect(device.raw, direction, PW_ID_ANY, flags, &format, 1) < 0) {
        std::cerr << "test_device: there is no sound server\n";
        return 1;
    }
    clock_gettime(CLOCK_MONOTONIC, &device.nextBlock);
    device.awaitNextBlock();
    pw_main_loop_run(device.loop.get());
    return 0;
}

#pragma once

#include "platform/pipewire/calls.h"
#include "platform/pipewire/handles.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <iostream>
#include <memory>
#include <span>
#include <string>
#include <vector>

/// An application that plays interleaved 32-bit floats to the sound server until SIGTERM ends it. The
/// real-time thread hands samples over within the cycle that asks for them: players that are fed by their
/// main thread, such as pw-cat, put silence into the middle of their sound when that thread has to wait for a
/// processor.
class PlayingApplication {
  public:
    PlayingApplication() = default;
    virtual ~PlayingApplication() = default;
    PlayingApplication(const PlayingApplication&) = delete;
    PlayingApplication& operator=(const PlayingApplication&) = delete;

    /// Plays. `positions` are those of the channels (SPA_AUDIO_CHANNEL_…), `rate` is in hertz, `properties`
    /// are further ones of the stream, such as "{ target.object = test_headphones }". Returns the status for
    /// main().
    int run(const std::string& name, const std::vector<std::uint32_t>& positions, std::uint32_t rate = 48000,
            const std::string& properties = "") {
        m_channels = positions.size();
        pw_loop_add_signal(loop(), SIGTERM, onEnd, this);
        pw_properties* const all = pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY,
                                                     "Playback", PW_KEY_NODE_NAME, name.c_str(), nullptr);
        pw_properties_update_string(all, properties.data(), properties.size());
        pw_stream_events events{};
        events.version = PW_VERSION_STREAM_EVENTS;
        events.process = onProcess;
        m_stream.reset(pw_stream_new_simple(loop(), name.c_str(), all, &events, this));
        m_raw = m_stream.get();
        std::vector<std::uint8_t> memory;
        const spa_pod* format = pipewire::buildFloatFormat(positions, memory, rate);
        constexpr auto flags = static_cast<pw_stream_flags>(
            PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS);
        if (!m_raw || pw_stream_connect(m_raw, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, &format, 1) < 0) {
            std::cerr << name << ": there is no sound server\n";
            return 1;
        }
        pw_main_loop_run(m_loop.get());
        m_stream.reset(); // nothing calls fill() any more
        return 0;
    }

  protected:
    /// The next whole frames. Real-time thread.
    virtual void fill(std::span<float> block) = 0;

    std::size_t channels() const { return m_channels; }
    pw_loop* loop() const { return pw_main_loop_get_loop(m_loop.get()); }
    /// Real-time thread.
    pw_stream* stream() const { return m_raw; }

  private:
    struct MainLoopDeleter {
        void operator()(pw_main_loop* loop) const { pw_main_loop_destroy(loop); }
    };

    static void onProcess(void* self) {
        auto& application = *static_cast<PlayingApplication*>(self);
        pw_buffer* const buffer = pw_stream_dequeue_buffer(application.m_raw);
        if (buffer == nullptr) return;
        const spa_data& data = buffer->buffer->datas[0];
        const std::size_t frameBytes = application.m_channels * sizeof(float);
        const std::uint64_t room = data.maxsize / frameBytes;
        // The server leaves it open with 0.
        const std::uint64_t frames = buffer->requested != 0 ? std::min(buffer->requested, room) : room;
        application.fill({static_cast<float*>(data.data), frames * application.m_channels});
        data.chunk->offset = 0;
        data.chunk->stride = static_cast<std::int32_t>(frameBytes);
        data.chunk->size = static_cast<std::uint32_t>(frames * frameBytes);
        pw_stream_queue_buffer(application.m_raw, buffer);
    }

    static void onEnd(void* self, int /*signal*/) {
        pw_main_loop_quit(static_cast<PlayingApplication*>(self)->m_loop.get());
    }

    const pipewire::Library m_library;
    std::unique_ptr<pw_main_loop, MainLoopDeleter> m_loop{pw_main_loop_new(nullptr)};
    std::size_t m_channels = 0;
    pipewire::StreamHandle m_stream;
    pw_stream* m_raw = nullptr; // for the real-time thread
};

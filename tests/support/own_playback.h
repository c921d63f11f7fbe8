#pragma once

#include "platform/pipewire/calls.h"
#include "platform/pipewire/connection.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <spa/param/audio/raw.h>
#include <stdexcept>
#include <vector>

/// This process plays interleaved stereo at 48 kHz, once, and silence after it until the end of the scope.
class OwnPlayback {
  public:
    OwnPlayback(PipeWireConnection& connection, std::vector<float> sound)
        : m_connection(connection), m_sound(std::move(sound)), m_server(connection.connect().server) {
        const pipewire::LoopLock lock(m_connection.loop());
        m_events.version = PW_VERSION_STREAM_EVENTS;
        m_events.process = onProcess;
        m_stream.reset(pw_stream_new(
            &m_server->core(), "own playback",
            pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback", nullptr)));
        m_raw = m_stream.get();
        m_hook.emplace();
        pw_stream_add_listener(m_raw, m_hook->get(), &m_events, this);
        const std::vector<std::uint32_t> positions{SPA_AUDIO_CHANNEL_FL, SPA_AUDIO_CHANNEL_FR};
        std::vector<std::uint8_t> memory;
        const spa_pod* format = pipewire::buildFloatFormat(positions, memory);
        constexpr auto flags = static_cast<pw_stream_flags>(
            PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS);
        if (pw_stream_connect(m_raw, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, &format, 1) < 0)
            throw std::runtime_error("cannot play");
    }
    ~OwnPlayback() {
        const pipewire::LoopLock lock(m_connection.loop());
        pw_stream_disconnect(m_raw);
        m_hook.reset();
        m_stream.reset();
        m_server.reset();
    }
    OwnPlayback(const OwnPlayback&) = delete;
    OwnPlayback& operator=(const OwnPlayback&) = delete;

  private:
    static void onProcess(void* self) {
        auto& playback = *static_cast<OwnPlayback*>(self);
        pw_buffer* const buffer = pw_stream_dequeue_buffer(playback.m_raw);
        if (buffer == nullptr) return;
        const spa_data& data = buffer->buffer->datas[0];
        const std::size_t room = data.maxsize / sizeof(float);
        const std::size_t wanted = buffer->requested != 0 ? buffer->requested * 2 : room;
        const std::size_t count = std::min(room, wanted);
        const std::size_t left = std::min(count, playback.m_sound.size() - playback.m_position);
        auto* const samples = static_cast<float*>(data.data);
        std::copy_n(playback.m_sound.begin() + static_cast<std::ptrdiff_t>(playback.m_position), left,
                    samples);
        std::fill(samples + left, samples + count, 0.0F);
        playback.m_position += left;
        data.chunk->offset = 0;
        data.chunk->stride = 2 * sizeof(float);
        data.chunk->size = static_cast<std::uint32_t>(count * sizeof(float));
        pw_stream_queue_buffer(playback.m_raw, buffer);
    }

    PipeWireConnection& m_connection;
    const std::vector<float> m_sound;
    std::size_t m_position = 0; // on the real-time thread
    std::shared_ptr<pipewire::Server> m_server;
    pw_stream_events m_events{};
    pw_stream* m_raw = nullptr;
    pipewire::StreamHandle m_stream;
    std::optional<pipewire::Hook> m_hook;
};

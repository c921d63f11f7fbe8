#include "platform/pipewire/playback_stream.h"

#include "base/error.h"
#include "platform/pipewire/calls.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace pipewire {

const pw_stream_events PlaybackStream::events = [] {
    pw_stream_events made{};
    made.version = PW_VERSION_STREAM_EVENTS;
    made.process = onProcess;
    return made;
}();

PlaybackStream::PlaybackStream(PipeWireConnection& connection, std::shared_ptr<Server> server,
                               const Description& description, std::vector<float> samples)
    : m_connection(connection), m_samples(std::move(samples)), m_channels(description.positions.size()),
      m_server(std::move(server)) {
    const LoopLock lock(m_connection.loop());
    m_stream.reset(
        pw_stream_new(&m_server->core(), nullptr,
                      pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback",
                                        PW_KEY_NODE_NAME, description.name.c_str(), PW_KEY_NODE_DESCRIPTION,
                                        description.description.c_str(), nullptr)));
    if (!m_stream) throw Error::posix(errno);
    m_hook.emplace();
    pw_stream_add_listener(m_stream.get(), m_hook->get(), &events, this);

    std::vector<std::uint8_t> memory;
    const spa_pod* format = buildFloatFormat(description.positions, memory);
    constexpr auto flags =
        static_cast<pw_stream_flags>(PW_STREAM_FLAG_INACTIVE | PW_STREAM_FLAG_AUTOCONNECT |
                                     PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS);
    const int status = pw_stream_connect(m_stream.get(), PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, &format, 1);
    if (status < 0) {
        m_hook.reset();
        m_stream.reset(); // under the lock
        throw Error::posix(-status);
    }
}

PlaybackStream::~PlaybackStream() {
    const LoopLock lock(m_connection.loop());
    // Until it is disconnected the real-time thread uses the stream's handle.
    pw_stream_disconnect(m_stream.get());
    m_hook.reset();
    m_stream.reset();
    m_server.reset();
}

void PlaybackStream::start() {
    const LoopLock lock(m_connection.loop());
    pw_stream_set_active(m_stream.get(), true);
}

void PlaybackStream::stop() noexcept {
    const LoopLock lock(m_connection.loop());
    pw_stream_set_active(m_stream.get(), false);
}

/// Runs on the server's real-time thread.
void PlaybackStream::onProcess(void* self) noexcept {
    PlaybackStream& stream = *static_cast<PlaybackStream*>(self);
    DequeuedBuffer buffer{stream.m_stream.get()};
    if (!buffer) return;
    const std::span<float> room = buffer.room(stream.m_channels);
    const std::size_t sounding = std::min(room.size(), stream.m_samples.size() - stream.m_next);
    const auto next = stream.m_samples.begin() + static_cast<std::ptrdiff_t>(stream.m_next);
    const auto silence = std::copy_n(next, sounding, room.begin());
    std::fill(silence, room.end(), 0.0F);
    stream.m_next += sounding;
    buffer.filled(room, stream.m_channels);
}

} // namespace pipewire

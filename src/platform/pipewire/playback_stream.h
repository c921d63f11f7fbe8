#pragma once

#include "platform/pipewire/connection.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pipewire {

/// Plays one sound once, on the default loudspeaker like any application, and silence after it. Used by one
/// thread at a time, never the loop's.
class PlaybackStream {
  public:
    struct Description {
        std::string name;                     ///< node.name
        std::string description;              ///< what users read in a mixer
        std::vector<std::uint32_t> positions; ///< SPA_AUDIO_CHANNEL_... of each channel
    };

    /// Announces the stream to the server; nothing is heard yet. `samples` are interleaved, 32-bit float, 48
    /// kHz. Throws Error of domain "posix".
    PlaybackStream(PipeWireConnection& connection, std::shared_ptr<Server> server,
                   const Description& description, std::vector<float> samples);
    /// Stops and withdraws the stream.
    ~PlaybackStream();
    PlaybackStream(const PlaybackStream&) = delete;
    PlaybackStream& operator=(const PlaybackStream&) = delete;

    /// From where it was stopped.
    void start();
    void stop() noexcept;

  private:
    static void onProcess(void* self) noexcept;
    static const pw_stream_events events;

    PipeWireConnection& m_connection;
    const std::vector<float> m_samples;
    const std::size_t m_channels;
    std::size_t m_next = 0;           // of m_samples; on the real-time thread
    std::shared_ptr<Server> m_server; // holds the connection that the stream is part of
    StreamHandle m_stream;
    std::optional<Hook> m_hook;
};

} // namespace pipewire

#pragma once

#include "base/serial_queue.h"
#include "capture/packet_ring.h"
#include "platform/pipewire/connection.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace pipewire {

/// One recording stream: interleaved 32-bit float samples at 48 kHz.
///
/// The server's real-time thread copies each block into a ring and posts a semaphore; the queue takes it out
/// of the ring and hands it on. Used by one thread at a time, never the loop's.
class CaptureStream {
  public:
    /// One block, whole frames, and the time of its first frame on the monotonic clock; empty when it carried
    /// no data. Valid during the call.
    using Handler = std::function<void(std::span<const float>, std::chrono::nanoseconds start)>;

    struct Description {
        std::string role; ///< for the log: "microphone", "system audio"
        PropertiesHandle properties;
        std::vector<std::uint32_t> positions; ///< SPA_AUDIO_CHANNEL_... of each channel
        bool autoConnect = false;             ///< the session manager links it to its target
    };

    /// Announces the stream to the server; no audio flows yet. Throws Error of domain "posix".
    CaptureStream(PipeWireConnection& connection, std::shared_ptr<Server> server, Description description);
    /// Stops and withdraws the stream.
    ~CaptureStream();
    CaptureStream(const CaptureStream&) = delete;
    CaptureStream& operator=(const CaptureStream&) = delete;

    /// From now on `handler` runs on `queue`, which outlives this object.
    void start(SerialQueue& queue, Handler handler);
    /// After it returns the handler, having had every block so far, neither runs nor will run until the next
    /// start. Any number of times.
    void stop() noexcept;

    /// Under the loop's lock: no audio until the next start.
    void pause() noexcept { pw_stream_set_active(m_stream.get(), false); }

    /// The server's number for the stream, once it is known there; nothing when that takes longer.
    std::optional<ObjectID> waitForNode(std::chrono::nanoseconds limit) const;
    /// False when no audio flows within that time.
    bool waitUntilStreaming(std::chrono::nanoseconds limit) const;

  private:
    static void onStateChanged(void* self, pw_stream_state before, pw_stream_state now,
                               const char* error) noexcept;
    static void onProcess(void* self) noexcept;
    static const pw_stream_events events;

    pw_stream_state state() const { return pw_stream_get_state(m_stream.get(), nullptr); }
    bool waitForState(pw_stream_state atLeast, std::chrono::nanoseconds limit) const;
    std::chrono::nanoseconds cycleTime() noexcept;
    void drain();

    PacketRing m_ring;
    PipeWireConnection& m_connection;
    const std::string m_role;
    const std::size_t m_channels;
    std::atomic<SerialQueue*> m_signalled{
        nullptr};                            // whom the real-time thread wakes; null: blocks are dropped
    std::chrono::nanoseconds m_lastCycle{0}; // on the real-time thread
    SerialQueue* m_queue = nullptr;          // not null between start and stop
    Handler m_handler;                       // on the queue
    bool m_overflowLogged = false;           // on the queue
    std::shared_ptr<Server> m_server;        // holds the connection that the stream is part of
    StreamHandle m_stream;
    std::optional<Hook> m_hook;
};

} // namespace pipewire

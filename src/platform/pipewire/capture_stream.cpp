#include "platform/pipewire/capture_stream.h"

#include "base/debug_log.h"
#include "base/error.h"
#include "platform/pipewire/calls.h"

#include <cerrno>
#include <ctime>
#include <utility>

namespace pipewire {

namespace {

/// The queue may be held up for two seconds before audio is lost.
constexpr std::size_t ringFrames = 96000;
constexpr std::int64_t framesPerSecond = 48000;
constexpr std::chrono::nanoseconds longestCycle = std::chrono::seconds(1);

} // namespace

const pw_stream_events CaptureStream::events = [] {
    pw_stream_events made{};
    made.version = PW_VERSION_STREAM_EVENTS;
    made.state_changed = onStateChanged;
    made.process = onProcess;
    return made;
}();

CaptureStream::CaptureStream(PipeWireConnection& connection, std::shared_ptr<Server> server,
                             Description description)
    : m_ring(ringFrames * description.positions.size()), m_connection(connection),
      m_role(std::move(description.role)), m_channels(description.positions.size()),
      m_server(std::move(server)) {
    const LoopLock lock(m_connection.loop());
    m_stream.reset(pw_stream_new(&m_server->core(), nullptr, description.properties.release()));
    if (!m_stream) throw Error::posix(errno);
    m_hook.emplace();
    pw_stream_add_listener(m_stream.get(), m_hook->get(), &events, this);

    std::vector<std::uint8_t> memory;
    const spa_pod* format = buildFloatFormat(description.positions, memory);
    const auto flags = static_cast<pw_stream_flags>(
        PW_STREAM_FLAG_INACTIVE | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS |
        (description.autoConnect ? PW_STREAM_FLAG_AUTOCONNECT : PW_STREAM_FLAG_NONE));
    const int status = pw_stream_connect(m_stream.get(), PW_DIRECTION_INPUT, PW_ID_ANY, flags, &format, 1);
    if (status < 0) {
        m_hook.reset();
        m_stream.reset(); // under the lock
        throw Error::posix(-status);
    }
}

CaptureStream::~CaptureStream() {
    stop();
    const LoopLock lock(m_connection.loop());
    // Until it is disconnected the real-time thread uses the stream's handle.
    pw_stream_disconnect(m_stream.get());
    m_hook.reset();
    m_stream.reset();
    m_server.reset();
}

void CaptureStream::start(SerialQueue& queue, Handler handler) {
    m_ring.drain([](std::chrono::nanoseconds, std::span<const float>) {
    }); // a block that came too late for an earlier stop
    m_handler = std::move(handler);
    m_queue = &queue;
    m_queue->attachSource([this] { drain(); });
    const LoopLock lock(m_connection.loop());
    m_signalled = m_queue;
    pw_stream_set_active(m_stream.get(), true);
}

void CaptureStream::stop() noexcept {
    if (m_queue == nullptr) return;
    {
        const LoopLock lock(m_connection.loop());
        pw_stream_set_active(m_stream.get(), false);
        m_signalled = nullptr;
    }
    // Not under the lock: the handler may be waiting for it.
    m_queue->sync([this] { drain(); });
    m_queue->detachSource();
    m_queue = nullptr;
    m_handler = nullptr;
}

std::optional<ObjectID> CaptureStream::waitForNode(std::chrono::nanoseconds limit) const {
    const LoopLock lock(m_connection.loop());
    if (!waitForState(PW_STREAM_STATE_PAUSED, limit)) return std::nullopt;
    return pw_stream_get_node_id(m_stream.get());
}

bool CaptureStream::waitUntilStreaming(std::chrono::nanoseconds limit) const {
    const LoopLock lock(m_connection.loop());
    return waitForState(PW_STREAM_STATE_STREAMING, limit);
}

bool CaptureStream::waitForState(pw_stream_state atLeast, std::chrono::nanoseconds limit) const {
    m_connection.waitUntil(
        [&] { return state() >= atLeast || state() == PW_STREAM_STATE_ERROR || !m_server->isAlive(); },
        limit);
    return state() >= atLeast && m_server->isAlive();
}

void CaptureStream::onStateChanged(void* self, pw_stream_state /*before*/, pw_stream_state now,
                                   const char* error) noexcept {
    const CaptureStream& stream = *static_cast<const CaptureStream*>(self);
    if (now == PW_STREAM_STATE_ERROR)
        DebugLog::log("[rec] " + stream.m_role + " stream FAILED: " + (error != nullptr ? error : "unknown"));
    stream.m_connection.wakeWaiting();
}

/// Runs on the server's real-time thread.
void CaptureStream::onProcess(void* self) noexcept {
    CaptureStream& stream = *static_cast<CaptureStream*>(self);
    SerialQueue* const queue = stream.m_signalled.load();
    const std::chrono::nanoseconds now = stream.cycleTime();
    while (const DequeuedBuffer buffer{stream.m_stream.get()}) {
        if (queue == nullptr) continue;
        const std::span<const float> block = buffer.samples(stream.m_channels);
        const auto frames = static_cast<std::int64_t>(block.size() / stream.m_channels);
        const std::chrono::nanoseconds length(frames * 1'000'000'000 / framesPerSecond);
        stream.m_ring.push(now - length, block);
    }
    if (queue != nullptr) queue->signalSource();
}

/// When the server's clock said that this block is complete. The delays that devices report on top of that
/// are left out: they change with the server's block size, and each change would look like a gap.
std::chrono::nanoseconds CaptureStream::cycleTime() noexcept {
    timespec clock{};
    clock_gettime(CLOCK_MONOTONIC, &clock);
    const std::chrono::nanoseconds now =
        std::chrono::seconds(clock.tv_sec) + std::chrono::nanoseconds(clock.tv_nsec);
    pw_time time{};
    if (pw_stream_get_time_n(m_stream.get(), &time, sizeof time) < 0) return now;
    // Devices made by programs need not tell the time, or tell that of their beginning.
    const std::chrono::nanoseconds cycle(time.now);
    const bool isNew = std::exchange(m_lastCycle, cycle) != cycle;
    return isNew && std::chrono::abs(now - cycle) < longestCycle ? cycle : now;
}

/// Runs on the queue.
void CaptureStream::drain() {
    m_ring.drain(
        [this](std::chrono::nanoseconds start, std::span<const float> block) { m_handler(block, start); });
    if (m_overflowLogged || m_ring.dropped() == 0) return;
    m_overflowLogged = true;
    DebugLog::log("[rec] " + m_role + ": audio was lost, the machine is too busy");
}

} // namespace pipewire

// How long a microphone takes from being asked for to its first block: through MicSource against a bare
// stream of the PipeWire library, in turn, on the same connection. Run inside a private session.

#include "base/thread_queue.h"
#include "platform/pipewire/calls.h"
#include "platform/pipewire/pipewire_mic_source.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <future>
#include <spa/param/audio/raw.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr const char* microphone = "virtual_microphone";
constexpr int rounds = 30;

double millisecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

/// Set once by the first block.
class FirstBlock {
  public:
    void arrived() {
        if (!m_seen.exchange(true)) m_promise.set_value();
    }
    void wait() { m_promise.get_future().wait(); }

  private:
    std::atomic<bool> m_seen{false};
    std::promise<void> m_promise;
};

double throughMicSource(PipeWireConnection& connection) {
    FirstBlock first;
    ThreadQueue queue("bench.mic");
    const Clock::time_point begin = Clock::now();
    const auto source = PipeWireMicSourceFactory(connection).open(microphone);
    source->attach(queue, [&](const MicBuffer&) { first.arrived(); });
    source->start();
    first.wait();
    return millisecondsSince(begin);
}

double throughBareStream(PipeWireConnection& connection) {
    FirstBlock first;
    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.process = [](void* data) { static_cast<FirstBlock*>(data)->arrived(); };
    const auto server = connection.connect().server;
    pipewire::StreamHandle stream;
    std::optional<pipewire::Hook> hook;
    const Clock::time_point begin = Clock::now();
    {
        const pipewire::LoopLock lock(connection.loop());
        stream.reset(pw_stream_new(&server->core(), "bench",
                                   pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY,
                                                     "Capture", PW_KEY_TARGET_OBJECT, microphone,
                                                     PW_KEY_NODE_LATENCY, "1024/48000", nullptr)));
        hook.emplace();
        pw_stream_add_listener(stream.get(), hook->get(), &events, &first);
        std::vector<std::uint8_t> memory;
        const std::vector<std::uint32_t> mono{SPA_AUDIO_CHANNEL_MONO};
        const spa_pod* format = pipewire::buildFloatFormat(mono, memory);
        constexpr auto flags = static_cast<pw_stream_flags>(
            PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS);
        pw_stream_connect(stream.get(), PW_DIRECTION_INPUT, PW_ID_ANY, flags, &format, 1);
    }
    first.wait();
    const double time = millisecondsSince(begin);
    const pipewire::LoopLock lock(connection.loop());
    pw_stream_disconnect(stream.get());
    hook.reset();
    stream.reset();
    return time;
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                     values.end());
    return values[values.size() / 2];
}

} // namespace

int main() {
    PipeWireConnection connection;
    if (!connection.connect().server) {
        std::puts("first_block needs a sound server: scripts/private-session run -- …/first_block");
        return 1;
    }
    std::vector<double> ours;
    std::vector<double> bare;
    for (int i = 0; i < rounds; ++i) {
        ours.push_back(throughMicSource(connection));
        bare.push_back(throughBareStream(connection));
    }
    std::printf("first microphone block, median of %d: murmelo %.1f ms, bare stream %.1f ms, ratio %.2f "
                "(goal: under 50 ms more)\n",
                rounds, median(ours), median(bare), median(ours) / median(bare));
}

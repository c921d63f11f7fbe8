#include "platform/pipewire/pipewire_mic_source.h"

#include "base/debug_log.h"
#include "base/error.h"
#include "platform/pipewire/capture_stream.h"

#include <spa/param/audio/raw.h>
#include <utility>

using pipewire::CaptureStream;

namespace {

pipewire::PropertiesHandle micProperties(const std::string& id) {
    return pipewire::PropertiesHandle(pw_properties_new(
        PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_NODE_NAME, "murmelo.microphone",
        PW_KEY_NODE_DESCRIPTION, "Murmelo Microphone", PW_KEY_TARGET_OBJECT, id.c_str(),
        // The chosen microphone or silence: without these three the session manager takes another one.
        PW_KEY_NODE_DONT_RECONNECT, "true", "node.dont-fallback", "true", "node.dont-move", "true",
        // Else a stereo microphone arrives 3 dB louder than a mono one.
        "channelmix.normalize", "true", PW_KEY_NODE_LATENCY, "1024/48000", nullptr));
}

class PipeWireMicSource final : public MicSource {
  public:
    PipeWireMicSource(PipeWireConnection& connection, std::shared_ptr<pipewire::Server> server,
                      const std::string& id)
        : m_stream(connection, std::move(server),
                   {"microphone", micProperties(id), {SPA_AUDIO_CHANNEL_MONO}, true}) {}

    bool attach(SerialQueue& queue, Handler handler) override {
        m_queue = &queue;
        m_handler = std::move(handler);
        return true; // the server converts whatever the microphone delivers
    }

    void start() override {
        m_stream.start(*m_queue, [this](std::span<const float> block, std::chrono::nanoseconds start) {
            m_handler({block.empty() ? nullptr : block.data(), block.size_bytes(),
                       static_cast<std::int64_t>(block.size()), start});
        });
    }

    bool waitUntilRunning() override { return m_stream.waitUntilStreaming(std::chrono::seconds(1)); }
    void stop() noexcept override { m_stream.stop(); }

  private:
    SerialQueue* m_queue = nullptr;
    Handler m_handler;
    CaptureStream m_stream; // after what its handler uses
};

} // namespace

std::unique_ptr<MicSource> PipeWireMicSourceFactory::open(const std::string& id) {
    const PipeWireConnection::Connected connected = m_connection.connect();
    if (!connected.server) return nullptr;
    const bool isThere = m_connection.graph().read([&](const pipewire::Graph& graph) {
        return pipewire::findMicrophone(graph, id) != nullptr && pipewire::isManaged(graph);
    });
    if (!isThere) return nullptr;
    return std::make_unique<PipeWireMicSource>(m_connection, connected.server, id);
}

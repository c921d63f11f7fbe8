#include "platform/pipewire/process_tap.h"

#include "base/error.h"
#include "platform/pipewire/capture_stream.h"
#include "platform/pipewire/downmix.h"
#include "platform/pipewire/tap_linker.h"

#include <algorithm>
#include <cerrno>
#include <spa/param/audio/raw.h>
#include <utility>

using pipewire::CaptureStream;
using pipewire::LoopLock;

namespace {

/// Taps and procs are no objects of the server; there is one of each here.
constexpr std::uint32_t onlyID = 1;

/// In the order of tapChannels.
const std::vector<std::uint32_t> tapPositions{
    SPA_AUDIO_CHANNEL_FL, SPA_AUDIO_CHANNEL_FR, SPA_AUDIO_CHANNEL_FC, SPA_AUDIO_CHANNEL_LFE,
    SPA_AUDIO_CHANNEL_SL, SPA_AUDIO_CHANNEL_SR, SPA_AUDIO_CHANNEL_RL, SPA_AUDIO_CHANNEL_RR};

pipewire::PropertiesHandle tapProperties(const TapDeviceDescription& description) {
    return pipewire::PropertiesHandle(
        pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_NODE_NAME,
                          description.uid.c_str(), PW_KEY_NODE_DESCRIPTION, description.name.c_str(),
                          // We link it ourselves, to applications instead of a microphone.
                          PW_KEY_NODE_AUTOCONNECT, "false",
                          // Every channel as it comes; we mix down ourselves.
                          PW_KEY_STREAM_DONT_REMIX, "true",
                          // Silence arrives while nobody plays.
                          PW_KEY_NODE_ALWAYS_PROCESS, "true", nullptr));
}

class ProcessTap final : public SystemAudioSource {
  public:
    explicit ProcessTap(PipeWireConnection& connection) : m_connection(connection) {}
    ~ProcessTap() override { release(); }
    ProcessTap(const ProcessTap&) = delete;
    ProcessTap& operator=(const ProcessTap&) = delete;

    Created createTap(const TapDescription& description) override {
        if (description.muted || !description.excludedProcesses.empty()) return {-ENOTSUP, 0};
        PipeWireConnection::Connected connected = m_connection.connect();
        if (!connected.server) return {connected.status, 0};
        if (!m_connection.graph().read(pipewire::isManaged)) return {-EAGAIN, 0};
        m_server = std::move(connected.server);
        m_uuid = description.uuid;
        return {0, onlyID};
    }

    Created createDevice(const TapDeviceDescription& description) override {
        const auto& taps = description.tapUUIDs;
        if (!m_server || std::find(taps.begin(), taps.end(), m_uuid) == taps.end()) return {-ENODEV, 0};
        try {
            m_stream.emplace(
                m_connection, m_server,
                CaptureStream::Description{"system audio", tapProperties(description), tapPositions, false});
        } catch (const Error& error) {
            return {-error.code(), 0};
        }
        const std::optional<pipewire::ObjectID> node = m_stream->waitForNode(std::chrono::seconds(2));
        if (!node) {
            m_stream.reset();
            return {-ETIMEDOUT, 0};
        }
        m_node = *node;
        return {0, m_node};
    }

    Registered registerHandler(SerialQueue& queue, Handler handler) override {
        if (!m_stream) return {-ENODEV, std::nullopt};
        m_queue = &queue;
        m_handler = std::move(handler);
        return {0, onlyID};
    }

    int start() override {
        if (!m_stream || m_queue == nullptr) return -ENODEV;
        m_stream->start(*m_queue, [this](std::span<const float> block, std::chrono::nanoseconds start) {
            deliver(block, start);
        });
        const LoopLock lock(m_connection.loop());
        if (!m_server->isAlive()) return -EPIPE;
        // A tap that runs keeps devices running, and those a new session manager cannot set up.
        m_linker.emplace(*m_server, m_node, [this] { m_stream->pause(); });
        return 0;
    }

    void stop() noexcept override {
        {
            const LoopLock lock(m_connection.loop());
            m_linker.reset();
        }
        if (m_stream) m_stream->stop();
    }

    void removeHandler() noexcept override {
        m_queue = nullptr;
        m_handler = nullptr;
    }

    void destroyDevice() noexcept override { m_stream.reset(); }
    void destroyTap() noexcept override { m_server.reset(); }

  private:
    void release() noexcept {
        stop();
        removeHandler();
        destroyDevice();
        destroyTap();
    }

    /// On the queue.
    void deliver(std::span<const float> block, std::chrono::nanoseconds start) {
        pipewire::downmixToStereo(block, m_stereo);
        const AudioBuffer buffer{2, static_cast<std::uint32_t>(m_stereo.size() * sizeof(float)),
                                 m_stereo.empty() ? nullptr : m_stereo.data()};
        m_handler({&buffer, 1}, start);
    }

    PipeWireConnection& m_connection;
    std::shared_ptr<pipewire::Server> m_server;
    std::string m_uuid;
    pipewire::ObjectID m_node = 0;
    SerialQueue* m_queue = nullptr;
    Handler m_handler;
    std::vector<float> m_stereo; // on the queue
    std::optional<CaptureStream> m_stream;
    std::optional<pipewire::TapLinker> m_linker; // under the loop's lock
};

} // namespace

std::unique_ptr<SystemAudioSource> ProcessTapFactory::make() {
    return std::make_unique<ProcessTap>(m_connection);
}

#include "capture/aligned_capture.h"

#include "base/debug_log.h"

#include <utility>

namespace {

using Event = SourceVitals::Event;
using Time = std::chrono::nanoseconds;

constexpr Time lookoutRound = std::chrono::milliseconds(1000 / SourceVitals::roundsPerSecond);

const char* word(Event event) {
    switch (event) {
    case Event::neverCame:
        return "gives nothing";
    case Event::came:
        return "has come";
    case Event::lost:
        return "lost";
    case Event::back:
        return "back";
    case Event::mute:
        return "gives only zeros";
    case Event::audible:
        return "gives sound again";
    }
    return "";
}

std::string micSentence(const std::string& name, Event event) {
    const std::string mic = "“" + name + "”";
    switch (event) {
    case Event::neverCame:
        return mic + " gives no sound: your voice is missing.";
    case Event::came:
        return mic + " gives sound now.";
    case Event::lost:
        return mic + " is gone: your voice is missing until it is back.";
    case Event::back:
        return mic + " is back.";
    case Event::mute:
        return mic + " has given only silence for half a minute. Is it switched off?";
    case Event::audible:
        return mic + " can be heard now.";
    }
    return "";
}

/// System audio that is silent is nothing to tell.
std::string tapSentence(Event event) {
    if (event == Event::lost || event == Event::neverCame)
        return "System audio is gone: what the computer plays is missing until it is back.";
    return "System audio is back.";
}

} // namespace

// --- what the recorder sees
// -----------------------------------------------------------------------------------

class AlignedCapture::Mic final : public MicSource {
  public:
    Mic(AlignedCapture& capture, std::shared_ptr<LastingMic> mic)
        : m_capture(capture), m_mic(std::move(mic)) {}
    ~Mic() override { stop(); }
    Mic(const Mic&) = delete;
    Mic& operator=(const Mic&) = delete;

    bool attach(SerialQueue& queue, Handler handler) override {
        m_queue = &queue;
        m_handler = std::move(handler);
        return m_mic->attach(queue, [&delivery = m_capture.m_delivery](Time start, auto mono) {
            delivery.micBlock(start, mono);
        });
    }
    void start() override {
        m_capture.m_delivery.startMic(*m_queue, m_handler);
        m_mic->start();
        m_capture.startLookout();
    }
    bool waitUntilRunning() override { return m_mic->waitUntilRunning(); }
    void stop() noexcept override {
        m_mic->stop();
        m_capture.m_delivery.stopMic();
    }

  private:
    AlignedCapture& m_capture;
    std::shared_ptr<LastingMic> m_mic; // shared with a lookout that may just be opening it again
    SerialQueue* m_queue = nullptr;
    Handler m_handler;
};

class AlignedCapture::Tap final : public SystemAudioSource {
  public:
    Tap(AlignedCapture& capture, std::shared_ptr<LastingTap> tap)
        : m_capture(capture), m_tap(std::move(tap)) {}
    ~Tap() override {
        stop();
        removeHandler();
        destroyDevice();
        destroyTap();
    }
    Tap(const Tap&) = delete;
    Tap& operator=(const Tap&) = delete;

    Created createTap(const TapDescription& description) override { return m_tap->createTap(description); }
    Created createDevice(const TapDeviceDescription& description) override {
        return m_tap->createDevice(description);
    }
    Registered registerHandler(SerialQueue& queue, Handler handler) override {
        m_queue = &queue;
        m_handler = std::move(handler);
        return m_tap->registerHandler(
            queue, [&delivery = m_capture.m_delivery](AudioBufferList buffers, Time start) {
                for (const AudioBuffer& buffer : buffers) // one, with both sides
                    delivery.tapBlock(start, {static_cast<const float*>(buffer.data),
                                              buffer.data != nullptr ? buffer.byteSize / sizeof(float) : 0});
            });
    }
    int start() override {
        m_capture.m_delivery.startTap(*m_queue, m_handler);
        m_capture.startLookout();
        return m_tap->start();
    }
    void stop() noexcept override {
        m_tap->stop();
        m_capture.m_delivery.stopTap();
    }
    void removeHandler() noexcept override { m_tap->removeHandler(); }
    void destroyDevice() noexcept override { m_tap->destroyDevice(); }
    void destroyTap() noexcept override { m_tap->destroyTap(); }

  private:
    AlignedCapture& m_capture;
    std::shared_ptr<LastingTap> m_tap; // shared with a lookout that may just be making it anew
    SerialQueue* m_queue = nullptr;
    Handler m_handler;
};

AlignedCapture::AlignedCapture(MicSourceFactory& mics, SystemAudioSourceFactory& systemAudio,
                               std::unique_ptr<SerialQueue> lookout, Audience audience)
    : m_mics(mics), m_systemAudio(systemAudio), m_audience(std::move(audience)),
      m_lookout(std::move(lookout)) {}

AlignedCapture::~AlignedCapture() = default;

std::unique_ptr<MicSource> AlignedCapture::open(const std::string& id) {
    std::unique_ptr<MicSource> source = m_mics.open(id);
    if (!source) return nullptr;
    auto mic = std::make_shared<LastingMic>(m_mics, id, std::move(source));
    const std::lock_guard lock(m_mutex);
    m_mic = mic;
    return std::make_unique<Mic>(*this, std::move(mic));
}

std::unique_ptr<SystemAudioSource> AlignedCapture::make() {
    auto tap = std::make_shared<LastingTap>(m_systemAudio);
    const std::lock_guard lock(m_mutex);
    m_tap = tap;
    return std::make_unique<Tap>(*this, std::move(tap));
}

// --- the lookout
// --------------------------------------------------------------------------------------------------

void AlignedCapture::startLookout() {
    const std::lock_guard lock(m_mutex);
    if (!std::exchange(m_looksOut, true)) m_lookout->asyncAfter(lookoutRound, [this] { lookOut(); });
}

void AlignedCapture::lookOut() {
    const Time leftOut = m_delivery.tick(m_lookout->now());
    if (leftOut > Time(0))
        DebugLog::log("[rec] the program stood still for " +
                      std::to_string(std::chrono::duration_cast<std::chrono::seconds>(leftOut).count()) +
                      " s, which are left out");
    std::shared_ptr<LastingMic> mic;
    std::shared_ptr<LastingTap> tap;
    {
        const std::lock_guard lock(m_mutex);
        mic = m_mic;
        tap = m_tap;
    }
    if (mic) lookAfter(*mic);
    if (tap) lookAfter(*tap);
    m_lookout->asyncAfter(lookoutRound, [this] { lookOut(); });
}

void AlignedCapture::lookAfter(LastingMic& mic) {
    const LastingMic::Round round = mic.round();
    if (!round.wanted) return;
    if (const auto event = m_micVitals.round(round.gave, round.sounded))
        report("microphone", *event, micSentence(m_audience.micName, *event));
    mic.revive(round);
}

void AlignedCapture::lookAfter(LastingTap& tap) {
    const LastingTap::Round round = tap.round();
    if (!round.wanted) return;
    if (const auto event = m_tapVitals.round(round.gave, round.gave))
        report("system audio", *event, tapSentence(*event));
    tap.revive(round);
}

void AlignedCapture::report(const char* what, Event event, const std::string& sentence) {
    DebugLog::log(std::string("[rec] ") + what + " " + word(event));
    if (m_audience.notices != nullptr) m_audience.notices->tell(sentence);
}

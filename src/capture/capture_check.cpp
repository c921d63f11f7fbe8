#include "capture/capture_check.h"

#include "base/debug_log.h"
#include "base/number_text.h"
#include "capture/system_tap_session.h"
#include "capture/test_tone.h"
#include "capture/tone_detector.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <span>

namespace {

using namespace std::chrono_literals;

constexpr auto timeToAsk = 200ms;
constexpr auto timeToHear = 900ms; // longer than the tone
constexpr float toneVolume = 0.6F;
constexpr float audible = 0.0005F;

bool exists(const SystemAudioSource::Created& created) {
    return created.status == 0 && created.id != 0;
}

std::span<const float> samplesOf(const AudioBuffer& buffer) {
    if (buffer.data == nullptr) return {};
    return {static_cast<const float*>(buffer.data), buffer.byteSize / sizeof(float)};
}

/// What the tap delivers: the largest absolute sample, and whether the test tone is in it. Any thread.
class Heard {
  public:
    void hear(AudioBufferList buffers) {
        const std::lock_guard lock(m_mutex);
        for (const AudioBuffer& buffer : buffers)
            for (const float sample : samplesOf(buffer)) m_maxAmp = std::max(m_maxAmp, std::abs(sample));
        if (buffers.empty() || buffers.front().channels == 0) return;
        const std::span<const float> samples = samplesOf(buffers.front());
        for (std::size_t i = 0; i < samples.size(); i += buffers.front().channels) m_tone.hear(samples[i]);
    }
    float maxAmp() const {
        const std::lock_guard lock(m_mutex);
        return m_maxAmp;
    }
    bool hasTone() const {
        const std::lock_guard lock(m_mutex);
        return m_tone.hasHeardTone();
    }

  private:
    mutable std::mutex m_mutex;
    float m_maxAmp = 0;
    ToneDetector m_tone; // of the first channel
};

} // namespace

void CaptureCheck::primeSystemAudioPermission() const {
    SystemTapSession tap(m_services.systemAudio.make());
    if (!exists(tap.createTap("Tapdeck Permission Probe"))) return;
    m_services.sleep(timeToAsk);
}

bool CaptureCheck::systemAudioWorks() const {
    const std::unique_ptr<SerialQueue> queue = m_services.makeQueue("tapdeck.check");
    Heard heard;
    SystemTapSession tap(m_services.systemAudio.make()); // releases all of its own, in order, before the rest
    if (!exists(tap.createTap("Tapdeck Permission Check"))) return false;
    if (!exists(tap.createDevice("Tapdeck Check", "check"))) return false;
    const SystemAudioSource::Registered registered = tap.registerHandler(
        *queue, [&heard](AudioBufferList buffers, SerialQueue::Time /*start*/) { heard.hear(buffers); });
    if (registered.status != 0 || !registered.id) return false;
    tap.start(); // without success nothing is heard

    const std::unique_ptr<TonePlayer> player = m_services.tones.make(testToneFile(), toneVolume);
    if (!player) return false;
    player->play();
    m_services.sleep(timeToHear);
    player->stop();

    const float maxAmp = heard.maxAmp();
    DebugLog::log("[check] systemAudioWorks maxAmp=" + shortestDecimal(maxAmp));
    if (maxAmp <= audible) return false;
    if (!heard.hasTone()) DebugLog::log("[check] what was heard does not contain the test tone");
    return true;
}

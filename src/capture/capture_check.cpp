#include "capture/capture_check.h"

#include "base/debug_log.h"
#include "base/number_text.h"
#include "capture/system_tap_session.h"
#include "capture/test_tone.h"

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

/// The largest absolute sample that was heard. Any thread.
class Peak {
  public:
    void hear(AudioBufferList buffers) {
        float largest = 0;
        for (const AudioBuffer& buffer : buffers) largest = std::max(largest, peakOf(buffer));
        const std::lock_guard lock(m_mutex);
        m_maxAmp = std::max(m_maxAmp, largest);
    }
    float value() const {
        const std::lock_guard lock(m_mutex);
        return m_maxAmp;
    }

  private:
    static float peakOf(const AudioBuffer& buffer) {
        if (buffer.data == nullptr) return 0;
        float largest = 0;
        for (const float sample :
             std::span(static_cast<const float*>(buffer.data), buffer.byteSize / sizeof(float)))
            largest = std::max(largest, std::abs(sample));
        return largest;
    }

    mutable std::mutex m_mutex;
    float m_maxAmp = 0;
};

} // namespace

void CaptureCheck::primeSystemAudioPermission() const {
    SystemTapSession tap(m_services.systemAudio.make());
    if (!exists(tap.createTap("Tapdeck Permission Probe"))) return;
    m_services.sleep(timeToAsk);
}

bool CaptureCheck::systemAudioWorks() const {
    const std::unique_ptr<SerialQueue> queue = m_services.makeQueue("tapdeck.check");
    Peak peak;
    SystemTapSession tap(m_services.systemAudio.make()); // releases all of its own, in order, before the peak
    if (!exists(tap.createTap("Tapdeck Permission Check"))) return false;
    if (!exists(tap.createDevice("Tapdeck Check", "check"))) return false;
    const SystemAudioSource::Registered registered = tap.registerHandler(
        *queue, [&peak](AudioBufferList buffers, SerialQueue::Time /*start*/) { peak.hear(buffers); });
    if (registered.status != 0 || !registered.id) return false;
    tap.start(); // without success nothing is heard

    const std::unique_ptr<TonePlayer> player = m_services.tones.make(testToneFile(), toneVolume);
    if (!player) return false;
    player->play();
    m_services.sleep(timeToHear);
    player->stop();

    const float maxAmp = peak.value();
    DebugLog::log("[check] systemAudioWorks maxAmp=" + shortestDecimal(maxAmp));
    return maxAmp > audible;
}

#pragma once

#include "capture/aligned_delivery.h"
#include "capture/lasting_mic.h"
#include "capture/lasting_tap.h"
#include "capture/notices.h"
#include "capture/source_vitals.h"

#include <memory>
#include <mutex>
#include <string>

/// What one recorder takes for its microphone and its system audio: the real ones, on one time line (see
/// CaptureTimeline), opened again when they are lost.
///
/// A lookout of its own looks four times a second what has become of them. Each event is a line in the log
/// and a notice.
class AlignedCapture final : public MicSourceFactory, public SystemAudioSourceFactory {
  public:
    /// Whom to tell what happens to the sources.
    struct Audience {
        std::string micName; ///< as users know it
        Notices* notices;    ///< null for a preview: it only meters, and never tells anything
    };

    /// The factories and the notices outlive it.
    AlignedCapture(MicSourceFactory& mics, SystemAudioSourceFactory& systemAudio,
                   std::unique_ptr<SerialQueue> lookout, Audience audience);
    ~AlignedCapture() override;
    AlignedCapture(const AlignedCapture&) = delete;
    AlignedCapture& operator=(const AlignedCapture&) = delete;

    /// For one microphone and one tap, which this object outlives.
    std::unique_ptr<MicSource> open(const std::string& id) override;
    std::unique_ptr<SystemAudioSource> make() override;

  private:
    class Mic;
    class Tap;

    void startLookout();
    void lookOut();
    void lookAfter(LastingMic& mic);
    void lookAfter(LastingTap& tap);
    void report(const char* what, SourceVitals::Event event, const std::string& sentence);

    MicSourceFactory& m_mics;
    SystemAudioSourceFactory& m_systemAudio;
    const Audience m_audience;
    AlignedDelivery m_delivery;

    std::mutex m_mutex; // the next three
    bool m_looksOut = false;
    std::shared_ptr<LastingMic> m_mic;
    std::shared_ptr<LastingTap> m_tap;

    SourceVitals m_micVitals, m_tapVitals;  // the lookout's
    std::unique_ptr<SerialQueue> m_lookout; // last: it is joined before anything that it uses goes away
};

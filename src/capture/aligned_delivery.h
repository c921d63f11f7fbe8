#pragma once

#include "capture/capture_timeline.h"
#include "capture/mic_source.h"
#include "capture/system_audio_source.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <utility>
#include <vector>

/// Carries the blocks of a microphone and of a tap over one time line to the handlers of those who use them,
/// each on its own queue. A microphone sample comes after the tap's sample of the same time has been dealt
/// with. Deliveries carry no start: on one time line the count of samples tells it.
///
/// Any thread. Under the lock pieces are only copied and posted; the stops wait for queues without it.
class AlignedDelivery {
  public:
    using Time = CaptureTimeline::Time;

    /// The queues outlive the time until the stop.
    void startMic(SerialQueue& queue, MicSource::Handler handler);
    void startTap(SerialQueue& queue, SystemAudioSource::Handler handler);
    /// Delivers what still waits; after it returns the handler neither runs nor will run. Any number of
    /// times, one thread at a time.
    void stopMic();
    void stopTap();

    /// `start` is the time of the first sample. Ignored while nobody wants them.
    void micBlock(Time start, std::span<const float> mono);
    void tapBlock(Time start, std::span<const float> interleavedStereo);
    /// A few times a second. Returns what was left out since the last because the process stood still.
    Time tick(Time now);

  private:
    struct MicUser {
        MicUser(SerialQueue& on, MicSource::Handler with) : queue(on), handler(std::move(with)) {}
        SerialQueue& queue;
        MicSource::Handler handler;
        std::atomic<std::int64_t> underWay{0}; // samples on that queue
    };
    struct TapUser {
        TapUser(SerialQueue& on, SystemAudioSource::Handler with) : queue(on), handler(std::move(with)) {}
        SerialQueue& queue;
        SystemAudioSource::Handler handler;
    };
    struct MicPiece {
        std::vector<float> samples;
        bool isStandIn;
    };

    void deliverMic(std::span<const float> mono);
    void deliverTap(std::span<const float> stereo);
    void post(MicPiece piece);
    static void postToUser(const std::shared_ptr<MicUser>& user, MicPiece piece);

    std::mutex m_mutex; // all of the below
    std::shared_ptr<MicUser> m_mic;
    std::shared_ptr<TapUser> m_tap;
    bool m_micHasCome = false;
    bool m_holdsBack = false; // while the tap's queue forwards the last of its pieces
    std::vector<MicPiece> m_heldBack;
    Time m_leftOut{0};
    CaptureTimeline m_timeline{{[this](std::span<const float> mono) { deliverMic(mono); },
                                [this](std::span<const float> stereo) { deliverTap(stereo); }}};
};

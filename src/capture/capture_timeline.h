#pragma once

#include "capture/awake_time.h"
#include "capture/block_clock.h"
#include "capture/pending_audio.h"

#include <cstdint>
#include <functional>
#include <span>
#include <utility>

/// Puts the microphone's and the tap's blocks on one time line, so that sample i of the one belongs to sample
/// i of the other whatever happens to devices, clocks and the server.
///
/// The microphone's sample count is the time. Its samples are never corrected for drift; the clock only
/// measures gaps, which become silence. The tap follows: what it lacks or has too much is corrected where it
/// is silent anyway, and by force only when it is far off. A microphone sample is delivered after the tap's
/// sample of the same time, so whoever mixes them finds it there; no time is delivered twice. A time in which
/// the whole process stood still (see AwakeTime) is no part of the line.
///
/// Pure arithmetic: times are handed in, on the monotonic clock; one thread at a time. 48 kHz.
class CaptureTimeline {
  public:
    using Time = BlockClock::Time;

    struct Sinks {
        std::function<void(std::span<const float> mono)> mic;
        std::function<void(std::span<const float> interleavedStereo)> tap;
    };

    /// The longest that the microphone's second block waits for the tap's first.
    static constexpr Time longestHold = std::chrono::seconds(1);
    /// A tap that is later than this is silent, and its samples of that time come too late.
    static constexpr Time tapPatience = std::chrono::milliseconds(250);
    /// A microphone that gives nothing for this long is silent, by the clock, until it gives something again.
    static constexpr Time micPatience = std::chrono::seconds(1);
    /// How far the tap may be off before it is corrected in a silent stretch of at least that length...
    static constexpr Time silentCorrection = std::chrono::milliseconds(5);
    /// ...and before it is corrected wherever it is.
    static constexpr Time forcedCorrection = std::chrono::milliseconds(100);

    explicit CaptureTimeline(Sinks sinks) : m_sinks(std::move(sinks)) {}

    /// `start` is the time of the block's first sample.
    void micBlock(Time start, std::span<const float> mono);
    void tapBlock(Time start, std::span<const float> interleavedStereo);
    /// A few times a second, also before the first block: what is silent for too long by now?
    void tick(Time now);
    /// No tap from now on: the microphone waits no longer. Both end together.
    void tapStopped();
    /// Delivers what of the microphone still waits.
    void micStopped();
    /// What was left out because the whole process stood still, so far.
    Time takenOut() const { return m_awake.takenOut(); }

  private:
    enum class Tap {
        awaited, // of the microphone only the first block is delivered
        absent,  // the microphone flows alone
        running
    };

    void beginMic(Time start);
    void fillMic(std::int64_t until);
    std::int64_t indexAt(Time time) const;
    void beginTap(Time start);
    void putTap(std::span<const float> stereo);
    void putTapCorrected(std::span<const float> stereo, std::int64_t lag);
    void silenceTap(std::int64_t until);
    void deliver(Time now);
    void deliverMic(std::int64_t until);

    Sinks m_sinks;
    AwakeTime m_awake;

    // Positions are samples of the microphone since its first, gaps included.
    BlockClock m_micClock;
    bool m_micBegun = false;
    std::int64_t m_micNext = 0; // of the microphone's next sample; due at m_micClock.end()
    std::int64_t m_micIn = 0;   // end of what has come or was filled with silence
    std::int64_t m_micOut = 0;  // end of what was delivered
    PendingAudio m_pending;     // from m_micOut to m_micIn

    Tap m_tap = Tap::awaited;
    Time m_holdEnds{0};
    BlockClock m_tapClock;
    std::int64_t m_tapNext = 0;    // of the tap's next sample
    std::int64_t m_tapOut = 0;     // end of what was delivered
    std::int64_t m_zeroFrames = 0; // how many the tap has just given in a row
};

#pragma once

#include "speech_worker/audio_stream.h"
#include "speech_worker/echo_canceller.h"
#include "speech_worker/echo_delay.h"
#include "speech_worker/echo_judge.h"
#include "speech_worker/echo_line.h"
#include "speech_worker/sample_history.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <vector>

/// Takes out of a microphone track what the loudspeakers leaked into it, with the system track as the
/// reference. Both are 16 kHz mono, full scale 1, and begin at the same time; either may be longer.
///
/// One pass, in windows of 20 s. The echo's delay in a window comes from what is plain up to a minute before
/// and a minute behind it, so a delay that changes for good (another loudspeaker) is followed. As long as no
/// echo was plain, the sound passes unchanged to the bit. Holds about 90 s of both tracks, however long they
/// are.
class EchoRemoval {
  public:
    /// The next samples of the system track, any number, valid until the next call; empty at its end.
    using SystemTrack = std::function<std::span<const float>()>;

    /// The sink gets as many samples as are pushed, up to 90 s later.
    EchoRemoval(SystemTrack system, AudioSink sink);

    void push(std::span<const float> microphone);
    /// The microphone track has ended. Nothing may follow.
    void finish();

    /// Whether nearly all of the sound between the two times, in seconds, was echo (see EchoJudge). For the
    /// last 60 s that the sink got.
    bool isEcho(double start, double end) const { return m_judge.isEcho(start, end); }

  private:
    void readSystemTrack();
    void lookForEcho(std::size_t count);
    void followDelay(std::size_t windowEnd);
    void passWindow(std::size_t windowEnd);
    std::vector<float> withoutEcho(std::size_t windowEnd);

    SystemTrack m_readSystem;
    AudioSink m_sink;
    SampleHistory m_microphone;
    SampleHistory m_system;
    bool m_systemEnded = false;
    std::size_t m_searched = 0;      ///< samples in which delays were looked for
    std::size_t m_passed = 0;        ///< samples that the sink got
    std::vector<EchoDelay> m_delays; ///< from a minute before the window on
    std::optional<EchoLine> m_line;  ///< missing as long as there is no echo
    EchoCanceller m_canceller;
    EchoJudge m_judge;
};

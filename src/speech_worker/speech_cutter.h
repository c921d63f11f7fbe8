#pragma once

#include <functional>
#include <span>

/// A stretch of audio that may hold speech.
struct SpeechCut {
    double voicedStart; ///< seconds from the beginning of the stream: the first sample with a voice
    double voicedEnd;   ///< behind the last sample with a voice
    double start;       ///< time of the first sample
    std::span<const float> samples; ///< valid during the call
};

/// Cuts a stream of 16 kHz mono audio at its pauses. One thread.
class SpeechCutter {
  public:
    using Handler = std::function<void(const SpeechCut& cut)>;

    virtual ~SpeechCutter() = default;
    /// Full scale 1; what is not finite counts as silence. The handler is called inside, for what is decided.
    virtual void push(std::span<const float> samples) = 0;
    /// The stream has ended. Nothing may follow.
    virtual void finish() = 0;
};

#pragma once

#include "platform/media/ffmpeg_handles.h"

#include <functional>
#include <span>
#include <vector>

/// Changes the sample rate of a mono stream; sample 0 stays sample 0. Used by one thread at a time.
class Resampler {
  public:
    using Sink = std::function<void(std::span<const float>)>;

    /// Rates in hertz. Throws Error.
    Resampler(int fromRate, int toRate);

    /// The sink gets what is ready; the span is valid during the call.
    void convert(std::span<const float> samples, const Sink& sink);
    /// Emits what is still inside. Call once, last.
    void finish(const Sink& sink);

  private:
    void run(const float* samples, std::size_t count, const Sink& sink);

    ResamplerHandle m_resampler;
    std::vector<float> m_output;
};

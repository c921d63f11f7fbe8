#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

struct SpeexEchoState_;

/// Takes out of a microphone's sound what it has of a reference, by an adaptive filter: speexdsp's echo
/// canceller (Valin, "On Adjusting the Learning Rate in Frequency Domain Echo Cancellation With
/// Double-Talk", IEEE Trans. ASLP 15, 2007), which knows when both speak. 16 kHz mono, full scale 1. The echo
/// must come up to 0.25 s behind the reference. One thread.
class EchoCanceller {
  public:
    EchoCanceller();

    /// Both spans are the same time, and of the same length. Goes through it twice, so that the second time
    /// the filter knows the room; what it has learnt serves the next call as well. Returns the second
    /// result from sample `skipped` on: the filter finds its feet in the samples before.
    std::vector<float> cancel(std::span<const float> microphone, std::span<const float> reference,
                              std::size_t skipped);

  private:
    struct Release {
        void operator()(SpeexEchoState_* state) const noexcept;
    };
    std::unique_ptr<SpeexEchoState_, Release> m_state;
};

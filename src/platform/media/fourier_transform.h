#pragma once

#include "platform/media/ffmpeg_handles.h"

#include <complex>
#include <cstddef>
#include <span>

/// The discrete Fourier transform of one length N: X[k] = sum over n of x[n] exp(-2 pi i k n / N), not
/// scaled. Used by one thread at a time.
class FourierTransform {
  public:
    /// A power of two. Throws Error.
    explicit FourierTransform(std::size_t length);

    /// Replaces the values, as many as the length, by their transform.
    void operator()(std::span<std::complex<float>> values);

  private:
    struct FreeMemory {
        void operator()(std::complex<float>* memory) const noexcept;
    };
    /// Aligned for the processor's vectors, which makes it several times as fast.
    using Values = std::unique_ptr<std::complex<float>, FreeMemory>;
    static Values makeValues(std::size_t length);

    std::size_t m_length;
    Values m_input;
    Values m_output;
    TransformHandle m_context;
    void (*m_run)(AVTXContext*, void* output, void* input, std::ptrdiff_t stride) = nullptr;
};

#pragma once

#include <complex>
#include <span>

/// Replaces the values by their discrete Fourier transform, sum over n of x[n] exp(-2 pi i k n / N), not
/// scaled. N must be a power of two. Iterative radix-2 with bit reversal (Cooley and Tukey, 1965).
void fourierTransform(std::span<std::complex<float>> values);

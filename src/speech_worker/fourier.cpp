#include "speech_worker/fourier.h"

#include <cmath>
#include <numbers>
#include <utility>

void fourierTransform(std::span<std::complex<float>> values) {
    const std::size_t count = values.size();
    for (std::size_t i = 1, reversed = 0; i < count; ++i) {
        std::size_t bit = count >> 1;
        for (; (reversed & bit) != 0; bit >>= 1) reversed ^= bit;
        reversed |= bit;
        if (i < reversed) std::swap(values[i], values[reversed]);
    }
    for (std::size_t half = 1; half < count; half *= 2) {
        const std::complex<float> step =
            std::polar(1.0F, -std::numbers::pi_v<float> / static_cast<float>(half));
        for (std::size_t block = 0; block < count; block += 2 * half) {
            std::complex<float> twiddle = 1;
            for (std::size_t i = block; i < block + half; ++i) {
                const std::complex<float> odd = values[i + half] * twiddle;
                values[i + half] = values[i] - odd;
                values[i] += odd;
                twiddle *= step;
            }
        }
    }
}

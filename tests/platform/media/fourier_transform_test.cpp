#include "platform/media/fourier_transform.h"

#include "base/error.h"

#include <gtest/gtest.h>
#include <numbers>
#include <vector>

namespace {

TEST(FourierTransform, IsTheSumThatItsHeaderStates) {
    std::vector<std::complex<float>> values(16);
    for (std::size_t n = 0; n < 16; ++n)
        values[n] = {static_cast<float>(n * n % 7), static_cast<float>(n % 3)};
    const auto input = values;
    FourierTransform transform(16);
    for (int again = 0; again < 2; ++again) {
        values = input;
        transform(values);
        for (std::size_t k = 0; k < 16; ++k) {
            std::complex<double> sum;
            for (std::size_t n = 0; n < 16; ++n)
                sum += std::complex<double>(input[n]) *
                       std::polar(1.0, -2 * std::numbers::pi * static_cast<double>(k * n) / 16);
            EXPECT_NEAR(std::abs(std::complex<double>(values[k]) - sum), 0, 1e-4) << k;
        }
    }
}

TEST(FourierTransform, KeepsItsPrecisionInLongBlocks) {
    constexpr std::size_t length = 32768;
    constexpr std::size_t bin = 12345;
    std::vector<std::complex<float>> values(length);
    for (std::size_t n = 0; n < length; ++n)
        values[n] = std::polar(1.0, 2 * std::numbers::pi * static_cast<double>(bin * n % length) /
                                        static_cast<double>(length));
    FourierTransform transform(length);
    transform(values);
    values[bin] -= length;
    for (const std::complex<float>& value : values) ASSERT_LT(std::abs(value), 0.05); // of 32768
}

TEST(FourierTransform, ALengthOfNothingIsRefused) {
    EXPECT_THROW(FourierTransform(0), Error);
}

} // namespace

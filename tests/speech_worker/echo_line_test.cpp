#include "speech_worker/echo_line.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

std::vector<EchoDelay> along(double delayAtZero, double drift, int count) {
    std::vector<EchoDelay> delays;
    for (int i = 0; i < count; ++i) {
        const double time = 2.048 * i + 1.024;
        delays.push_back({time, std::round((delayAtZero + drift * time) * 16000) / 16000}); // whole samples
    }
    return delays;
}

TEST(EchoLine, RunsThroughTheEstimates) {
    for (const double drift : {100e-6, -100e-6, 20e-6}) {
        const auto line = fittedLine(along(0.05, drift, 60));
        ASSERT_TRUE(line);
        EXPECT_NEAR(line->drift, drift, 1e-6);
        for (const double time : {0.0, 60.0, 120.0})
            EXPECT_NEAR(line->delayAt(time), 0.05 + drift * time, 1.0 / 16000);
    }
}

TEST(EchoLine, WrongEstimatesDoNotMoveIt) {
    std::vector<EchoDelay> delays = along(0.05, 100e-6, 60);
    for (std::size_t i = 0; i < 20; ++i) delays[3 * i].delay = i % 2 == 0 ? 0.31 : 0.058;
    const auto line = fittedLine(delays);
    EXPECT_NEAR(line->drift, 100e-6, 5e-6);
    EXPECT_NEAR(line->delayAt(60), 0.056, 0.0003);
}

TEST(EchoLine, ADriftBelow15MillionthsIsNone) {
    const auto line = fittedLine(along(0.05, 10e-6, 60));
    EXPECT_EQ(line->drift, 0);
    EXPECT_NEAR(line->delayAtZero, 0.0506, 1.0 / 16000);
}

TEST(EchoLine, FewEstimatesTellNoDrift) {
    EXPECT_EQ(fittedLine(along(0.05, 100e-6, 1))->delayAt(1000), 0.05 + 2.0 / 16000);
    EXPECT_EQ(fittedLine(along(0.05, 100e-6, 5))->drift, 0);
}

TEST(EchoLine, WithoutEstimatesThereIsNone) {
    EXPECT_FALSE(fittedLine({}));
}

} // namespace

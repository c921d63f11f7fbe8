#include "capture/capture_timeline.h"
#include "support/simulated_clock.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

/// Two hours (see the build) of a microphone and of somebody who talks for three seconds and pauses for one.
class TwoHours : public testing::TestWithParam<std::pair<double, double>> {
  protected:
    static constexpr std::int64_t second = 48000;
    static constexpr std::int64_t sentence = 4 * second; // with its pause
    static constexpr std::int64_t talking = 3 * second;
    static constexpr std::int64_t block = 1024;
    static constexpr std::int64_t length = second * 60 * MURMELO_SIMULATED_MINUTES;
    static constexpr std::int64_t stall = length / 2 + second; // of both: what they play is lost
    static constexpr std::int64_t stallLength = second * 3 / 10;

    void record() {
        for (std::int64_t now = block; now < length; now += block) {
            giveUntil(now, m_mic, [this] { giveMic(); });
            giveUntil(now, m_tap, [this] { giveTap(); });
        }
    }

    template <typename Give>
    static void giveUntil(std::int64_t now, SimulatedClock& clock, Give&& give) {
        for (; clock.trueFrame() + block <= now;) {
            const std::int64_t frame = clock.trueFrame();
            if (frame >= stall && frame < stall + stallLength)
                clock.skip(block);
            else
                give();
        }
    }
    void giveMic() {
        const auto time = m_mic.time();
        m_mic.fill(block, 1, m_samples);
        m_timeline.micBlock(time, m_samples);
    }
    void giveTap() {
        const std::int64_t frame = m_tap.trueFrame();
        const auto time = m_tap.time();
        m_tap.fill(block, 2, m_samples);
        for (std::int64_t i = 0; i < block; ++i)
            if ((frame + i) % sentence >= talking) std::fill_n(m_samples.begin() + 2 * i, 2, 0.0F);
        m_timeline.tapBlock(time, m_samples);
    }

    void hearTap(std::span<const float> stereo) {
        if (m_tapBegin < 0) m_tapBegin = m_micEnd;
        for (std::size_t i = 0; i < stereo.size(); i += 2) m_heard.push_back(stereo[i]);
    }
    /// Every sample is compared with the tap's of the same place.
    void hearMic(std::span<const float> mono) {
        m_micEnd += std::ssize(mono);
        if (m_tapBegin < 0) return;
        ASSERT_GE(m_heard.size(), mono.size());
        for (std::size_t i = 0; i < mono.size(); ++i) compare(mono[i], m_heard[i]);
        m_heard.erase(m_heard.begin(), m_heard.begin() + std::ssize(mono));
    }
    void compare(float mic, float tap) {
        if (mic == 0) {
            ++m_lost;
        } else if (tap != 0) {
            m_lag = std::max(m_lag, std::abs(SimulatedClock::distance(mic, tap)));
        } else if (m_micEnd > m_tapBegin + sentence) {
            ++m_silent;
        }
    }

    SimulatedClock m_mic{GetParam().first};
    SimulatedClock m_tap{GetParam().second};
    std::vector<float> m_samples;
    std::vector<float> m_heard; // of the tap, not yet compared
    std::int64_t m_micEnd = 0;
    std::int64_t m_tapBegin = -1;
    std::int64_t m_lag = 0;    // the greatest
    std::int64_t m_silent = 0; // tap frames
    std::int64_t m_lost = 0;   // microphone frames
    CaptureTimeline m_timeline{{[this](std::span<const float> mono) { hearMic(mono); },
                                [this](std::span<const float> stereo) { hearTap(stereo); }}};
};

TEST_P(TwoHours, DriftIsCorrectedInPausesOnly) {
    record();
    EXPECT_LE(m_lag, 5 * 48 + 90) << "the limit, and the drift of one sentence";
    EXPECT_NEAR(m_lost, stallLength, block);
    // The pauses, longer or shorter by what the clocks differ: not one zero more.
    const double drift = length * (GetParam().first - GetParam().second) * 1e-6;
    EXPECT_NEAR(m_silent, static_cast<double>(length) / 4 + drift, sentence);
}

INSTANTIATE_TEST_SUITE_P(Clocks, TwoHours,
                         testing::Values(std::pair(200.0, -200.0), std::pair(-200.0, 200.0)));

} // namespace

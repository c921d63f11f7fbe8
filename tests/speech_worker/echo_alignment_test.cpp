#include "speech_worker/echo_alignment.h"

#include "support/synthetic_voice.h"

#include <gtest/gtest.h>

namespace {

TEST(SampleHistory, IsSilentWhereNothingIsKnown) {
    SampleHistory history;
    EXPECT_EQ(history.at(0), 0);
    history.append(std::vector<float>{1, 2, 3});
    history.append(std::vector<float>{4, 5});
    EXPECT_EQ(history.end(), 5U);
    EXPECT_EQ(history.at(-1), 0);
    EXPECT_EQ(history.at(4), 5);
    EXPECT_EQ(history.at(5), 0);
    history.forgetBefore(3);
    EXPECT_EQ(history.end(), 5U);
    EXPECT_EQ(history.at(2), 0);
    EXPECT_EQ(history.at(3), 4);
    history.forgetBefore(9);
    history.append(std::vector<float>{6});
    EXPECT_EQ(history.at(5), 6);
}

TEST(SampleHistory, HandsOutWhatIsThere) {
    SampleHistory history;
    history.append(std::vector<float>{1, 2, 3, 4, 5});
    history.forgetBefore(2);
    const auto given = [&](std::size_t begin, std::size_t count) {
        const auto span = history.from(begin, count);
        return std::vector<float>(span.begin(), span.end());
    };
    EXPECT_EQ(given(2, 2), (std::vector<float>{3, 4}));
    EXPECT_EQ(given(4, 9), (std::vector<float>{5}));
    EXPECT_TRUE(given(7, 2).empty());
}

class EchoAlignmentTest : public testing::Test {
  protected:
    void play(const std::vector<float>& samples) { system.append(samples); }

    SampleHistory system;
};

TEST_F(EchoAlignmentTest, TheSystemTrackComesFiveMillisecondsBeforeItsEcho) {
    const std::vector<float> played = hiss(1, 0.1F);
    play(played);
    const auto aligned = alignedSystem(system, {0.040, 0}, 4000, 8000);
    for (std::size_t i = 0; i < aligned.size(); ++i) ASSERT_EQ(aligned[i], played[4000 + i - 560]) << i;
}

TEST_F(EchoAlignmentTest, AnEchoOfLessThanThatIsServedAsWell) {
    const std::vector<float> played = hiss(1, 0.1F);
    play(played);
    EXPECT_EQ(alignedSystem(system, {0.001, 0}, 4000, 1)[0], played[4064]);
}

TEST_F(EchoAlignmentTest, BeforeAndBehindTheSystemTrackThereIsSilence) {
    play(std::vector<float>(1600, 0.5F));
    const auto aligned = alignedSystem(system, {0.055, 0}, 0, 4000);
    EXPECT_NEAR(aligned[799], 0, 1e-9);
    EXPECT_EQ(aligned[800], 0.5F);
    EXPECT_EQ(aligned[2399], 0.5F);
    EXPECT_NEAR(aligned[2400], 0, 1e-9);
}

TEST_F(EchoAlignmentTest, ADriftStretchesIt) {
    for (const double hertz : {300, 1000, 3000, 6000})
        for (const double drift : {100e-6, -100e-6}) {
            system = {};
            play(sine(10, hertz, 0.5F));
            const EchoLine line{0.0300123, drift};
            const auto aligned = alignedSystem(system, line, 32000, 96000);
            double worst = 0;
            for (std::size_t i = 0; i < aligned.size(); ++i) {
                const double time = static_cast<double>(32000 + i) / 16000;
                const double expected =
                    0.5 * std::sin(2 * std::numbers::pi * hertz * (time - line.delayAt(time) + 0.005));
                worst = std::max(worst, std::abs(aligned[i] - expected));
            }
            EXPECT_LT(worst, 0.01) << hertz << " Hz, drift " << drift; // 34 dB below
        }
}

} // namespace

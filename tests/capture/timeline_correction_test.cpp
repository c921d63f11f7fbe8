#include "capture/timeline_fixture.h"

namespace {

/// From here on the tap's count is off by `frames` (positive: it lacks them) at the microphone's place.
class TapCorrection : public TimelineFixture {
  protected:
    void SetUp() override { begin(); }
    /// A tap whose own clock moved within the limit again and again: no gap is ever seen.
    void driftBy(std::int64_t frames) {
        for (; m_drift != frames; m_drift += frames > 0 ? 1 : -1) putSound();
        for (int i = 0; i < 200; ++i) putSound();
    }
    void putSound() {
        put([&](std::int64_t frame) { return numbered(frame, block, 2); });
    }
    void putSilence() {
        put([](std::int64_t) { return Samples(2 * block); });
    }
    template <typename Content>
    void put(Content content) {
        mic(m_next);
        m_timeline.tapBlock(at(m_next + m_drift), content(m_next));
        m_next += block;
    }
    std::int64_t lag() const { return m_next - tapEnd(); }

    std::int64_t m_next = 4 * block;
    std::int64_t m_drift = 0;
};

TEST_F(TapCorrection, SoundIsNeverTouchedForAFewMilliseconds) {
    driftBy(4000);
    EXPECT_EQ(m_tap, numbered(block, m_next - block, 1));
}

TEST_F(TapCorrection, LackingSamplesAreSilenceWhereItIsSilentAnyway) {
    driftBy(300);
    putSilence();
    putSound();
    EXPECT_NEAR(tapEnd(), m_next + 300, 1);
    EXPECT_NEAR(zeros(m_tap), block + 300, 1);
}

TEST_F(TapCorrection, SurplusSamplesAreTakenOutOfSilence) {
    driftBy(-300);
    putSilence();
    putSound();
    EXPECT_NEAR(tapEnd(), m_next - 300, 1);
    EXPECT_NEAR(zeros(m_tap), block - 300, 1);
}

TEST_F(TapCorrection, UpToFiveMillisecondsEvenSilenceIsLeftAlone) {
    driftBy(230);
    for (int i = 0; i < 10; ++i) putSilence();
    EXPECT_EQ(tapEnd(), m_next);
}

TEST_F(TapCorrection, ShortRunOfZerosInSoundIsNoSilence) {
    driftBy(300);
    put([](std::int64_t frame) {
        Samples samples = numbered(frame, block, 2);
        std::fill_n(samples.begin() + 500, 2 * 200, 0.0F);
        return samples;
    });
    EXPECT_EQ(tapEnd(), m_next);
}

TEST_F(TapCorrection, SilenceMaySpanSeveralSmallBlocks) {
    driftBy(300);
    for (std::int64_t frame = m_next; frame < m_next + block; frame += 96) {
        mic(frame, 96);
        m_timeline.tapBlock(at(frame + m_drift), Samples(192));
    }
    EXPECT_NEAR(tapEnd(), m_next + block + 300, 1);
}

TEST_F(TapCorrection, BeyondAHundredMillisecondsItIsCorrectedByForce) {
    driftBy(4810);
    EXPECT_NEAR(zeros(m_tap), 4805, 5);
    EXPECT_NEAR(tapEnd(), m_next + 4805, 5);
}

TEST_F(TapCorrection, SurplusBeyondAHundredMillisecondsIsDropped) {
    driftBy(-4810);
    EXPECT_EQ(zeros(m_tap), 0);
    EXPECT_NEAR(tapEnd(), m_next - 4805, 5);
}

} // namespace

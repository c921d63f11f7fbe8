#include "capture/recorder_fixture.h"

namespace {

using Samples = std::vector<float>;

/// A running recording with empty queues.
class RecorderAudio : public RecorderFixture {
  protected:
    void SetUp() override {
        m_onSleep = [this] { m_mics.deliverRaw({}, 0, false); };
        ASSERT_TRUE(startWithFiles());
        m_levels.clear();
    }
    Samples constant(std::size_t count, float value) { return Samples(count, value); }
};

TEST_F(RecorderAudio, MixEqualsTheClippedMicrophoneWhenNothingPlays) {
    hear({0.5F, -1.5F, 2.0F});
    EXPECT_EQ(file("mix.m4a").left, (Samples{0.5F, -1.0F, 1.0F}));
    EXPECT_EQ(file("mix.m4a").right, file("mix.m4a").left);
}

TEST_F(RecorderAudio, MixIsTheClippedSum) {
    play({{2, {0.5F, -0.25F, -0.5F, 0.25F}}});
    hear({0.8F, -0.8F});
    EXPECT_EQ(file("mix.m4a").left, (Samples{1.0F, -1.0F}));
    EXPECT_EQ(file("mix.m4a").right, (Samples{0.8F - 0.25F, -0.8F + 0.25F}));
}

TEST_F(RecorderAudio, MissingSystemAudioIsSilenceInTheMix) {
    play({{1, constant(300, 0.5F)}});
    hear(constant(1024, 0.25F));
    Samples expected = constant(300, 0.75F);
    expected.resize(1024, 0.25F);
    EXPECT_EQ(file("mix.m4a").left, expected);
    hear({0.25F});
    EXPECT_EQ(file("mix.m4a").left.back(), 0.25F);
}

TEST_F(RecorderAudio, SystemAudioThatIsEarlyWaitsForTheNextBuffer) {
    play({{1, constant(5000, 0.5F)}});
    hear(constant(1024, 0));
    hear(constant(3976, 0));
    hear({0});
    EXPECT_EQ(file("mix.m4a").left[4999], 0.5F);
    EXPECT_EQ(file("mix.m4a").left[5000], 0.0F);
    EXPECT_EQ(file("mix.m4a").left.size(), 5001U);
}

TEST_F(RecorderAudio, VoiceHasTheMicrophoneOnBothChannels) {
    hear({0.1F, 1.5F, -0.3F});
    EXPECT_EQ(file("voice.m4a").left, (Samples{0.1F, 1.5F, -0.3F}));
    EXPECT_EQ(file("voice.m4a").right, file("voice.m4a").left);
}

TEST_F(RecorderAudio, LevelsAreReportedWithEveryBuffer) {
    hear(constant(480, 0.1F));
    hear(constant(480, 0.3F));
    ASSERT_EQ(m_levels.size(), 2U);
    EXPECT_FLOAT_EQ(m_levels[0].first, 0.4F);
    EXPECT_EQ(m_levels[1].first, 1.0F);
}

TEST_F(RecorderAudio, SystemLevelIsTheLeftChannelsAndDecaysWithoutSystemAudio) {
    play({{2, {0.125F, 0.9F}}});
    for (int i = 0; i < 3; ++i) hear({0});
    ASSERT_EQ(m_levels.size(), 3U);
    EXPECT_FLOAT_EQ(m_levels[0].second, 0.5F);
    EXPECT_FLOAT_EQ(m_levels[1].second, 0.45F);
    EXPECT_FLOAT_EQ(m_levels[2].second, 0.405F);
}

TEST_F(RecorderAudio, FirstAudioCameOnceWithABufferThatHeldNothing) {
    EXPECT_EQ(m_firstAudio, 1);
    EXPECT_EQ(log()[2], "[rec] first MIC callback");
    hear({0.1F});
    EXPECT_EQ(m_firstAudio, 1);
}

TEST_F(RecorderAudio, DamagedMicrophoneBuffersAreCountedAndDropped) {
    m_mics.deliverRaw({0.5F}, 1, false); // no data
    m_mics.deliverRaw({0.5F}, 2, true);  // fewer bytes than announced
    m_mics.deliverRaw({0.5F}, 0, true);
    m_mics.deliverRaw({0.5F}, -1, true);
    runQueues();
    EXPECT_TRUE(m_levels.empty());
    EXPECT_TRUE(file("voice.m4a").left.empty());
    m_recorder->stop();
    EXPECT_EQ(log().back(), "[rec] stopped; micCallbacks=5 sysCallbacks=0");
}

TEST_F(RecorderAudio, SurplusBytesOfAMicrophoneBufferAreIgnored) {
    m_mics.deliverRaw({0.5F, 0.25F}, 1, true);
    runQueues();
    EXPECT_EQ(file("voice.m4a").left, Samples{0.5F});
}

TEST_F(RecorderAudio, MonoSystemAudioGoesToBothChannels) {
    play({{1, constant(512, 0.25F)}});
    EXPECT_EQ(file("system.m4a").left, constant(512, 0.25F));
    EXPECT_EQ(file("system.m4a").right, constant(512, 0.25F));
    hear(constant(513, 0));
    EXPECT_EQ(file("mix.m4a").right[511], 0.25F);
    EXPECT_EQ(file("mix.m4a").right[512], 0.0F);
}

TEST_F(RecorderAudio, OfFourInterleavedChannelsTheFirstTwoCount) {
    Samples interleaved;
    for (int i = 0; i < 256; ++i) interleaved.insert(interleaved.end(), {0.1F, 0.2F, 0.3F, 0.4F});
    play({{4, interleaved}});
    EXPECT_EQ(file("system.m4a").left, constant(256, 0.1F));
    EXPECT_EQ(file("system.m4a").right, constant(256, 0.2F));
}

TEST_F(RecorderAudio, TwoMonoBuffersAreAppendedOneAfterTheOther) {
    play({{1, {0.1F, 0.2F}}, {1, {0.3F}}});
    EXPECT_EQ(file("system.m4a").left, (Samples{0.1F, 0.2F, 0.3F}));
    EXPECT_EQ(file("system.m4a").right, (Samples{0.1F, 0.2F, 0.3F}));
}

TEST_F(RecorderAudio, UselessSystemBuffersChangeNothingButTheCounter) {
    play({{2, {0.5F, 0.5F}, false}}); // no data
    play({{0, {0.5F}}});              // no channels
    play({{2, {0.5F}}});              // less than a frame
    play({{1, {0.5F}, true, 1}});     // less than a sample
    play({});
    hear({0});
    EXPECT_EQ(m_levels.back().second, 0.0F);
    EXPECT_TRUE(file("system.m4a").left.empty());
    EXPECT_EQ(file("mix.m4a").left, Samples{0.0F});
    m_recorder->stop();
    EXPECT_EQ(log().back(), "[rec] stopped; micCallbacks=2 sysCallbacks=5");
}

TEST_F(RecorderAudio, OddBytesBehindTheLastFrameAreIgnored) {
    play({{2, {0.1F, 0.2F, 0.3F}}});
    EXPECT_EQ(file("system.m4a").left, Samples{0.1F});
}

TEST_F(RecorderAudio, FirstSystemCallbackIsLoggedOnce) {
    m_log.clear();
    play({{2, {0, 0}}});
    play({{2, {0, 0}}});
    EXPECT_EQ(log(), Lines{"[rec] first SYSTEM callback"});
}

TEST_F(RecorderAudio, StalledMicrophoneKeepsTheLatestFiveSecondsOfSystemAudio) {
    for (int i = 0; i < 300; ++i) play({{1, constant(1000, static_cast<float>(i) / 1000.0F)}});
    hear(constant(240001, 0));
    const Samples& mix = file("mix.m4a").left;
    EXPECT_EQ(mix.front(), 0.06F);
    EXPECT_EQ(mix[239999], 0.299F);
    EXPECT_EQ(mix[240000], 0.0F);
    EXPECT_EQ(file("system.m4a").left.size(), 300000U);
}

TEST_F(RecorderAudio, FailedWritesLoseTheirBlockAndNothingElse) {
    m_files.failWrites = true;
    hear({0.5F});
    play({{2, {0.5F, 0.5F}}});
    m_files.failWrites = false;
    hear({0.25F});
    EXPECT_EQ(file("voice.m4a").left, Samples{0.25F});
    EXPECT_EQ(m_levels.size(), 2U);
    EXPECT_TRUE(m_errors.empty());
}

} // namespace

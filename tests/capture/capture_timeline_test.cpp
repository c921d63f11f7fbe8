#include "capture/timeline_fixture.h"

namespace {

class CaptureTimelineTest : public TimelineFixture {};

// --- the beginning ---

TEST_F(CaptureTimelineTest, FirstMicrophoneBlockIsDeliveredAtOnceAndTheNextWaitForTheTap) {
    mic(0);
    EXPECT_EQ(m_mic, numbered(0, block, 1));
    mic(block);
    mic(2 * block);
    EXPECT_EQ(micEnd(), block);
    tap(block);
    EXPECT_EQ(m_mic, numbered(0, 2 * block, 1));
    tap(2 * block);
    EXPECT_EQ(m_mic, numbered(0, 3 * block, 1));
    EXPECT_EQ(m_tap, numbered(block, 2 * block, 1));
}

TEST_F(CaptureTimelineTest, MicrophoneWaitsForTheTapNoLongerThanASecond) {
    for (std::int64_t frame = 0; frame < second; frame += block) mic(frame);
    EXPECT_EQ(micEnd(), block);
    mic(second);
    EXPECT_EQ(m_mic, numbered(0, second + block, 1));
    mic(second + block);
    EXPECT_EQ(m_mic, numbered(0, second + 2 * block, 1));
}

TEST_F(CaptureTimelineTest, TimeAloneEndsTheWaitForTheTap) {
    mic(0);
    mic(block);
    m_timeline.tick(999ms);
    EXPECT_EQ(micEnd(), block);
    m_timeline.tick(1s);
    EXPECT_EQ(micEnd(), 2 * block);
}

TEST_F(CaptureTimelineTest, TapBeginsInSilenceWithTheMicrophonesNextSample) {
    mic(0);
    for (std::int64_t frame = block; frame < 8 * block; frame += block) mic(frame);
    tap(8 * block);
    EXPECT_EQ(m_tapBegin, block);
    EXPECT_EQ(m_tap, withSilence(numbered(block, 8 * block, 1), 0, 7 * block));
    EXPECT_EQ(m_mic, numbered(0, 8 * block, 1));
}

TEST_F(CaptureTimelineTest, TapThatBeginsInTheMiddleOfTheFirstBlockLosesWhatIsDelivered) {
    mic(0);
    tap(block / 2);
    EXPECT_EQ(m_tap, numbered(block, block / 2, 1));
    EXPECT_EQ(m_tapBegin, block);
}

TEST_F(CaptureTimelineTest, TapThatBeginsAfterTheWaitFollowsTheMicrophone) {
    m_tapIsDue = false;
    for (std::int64_t frame = 0; frame < 2 * second; frame += block) mic(frame);
    tap(2 * second - 10);
    EXPECT_EQ(m_tapBegin, 2 * second);
    EXPECT_EQ(m_tap, numbered(2 * second, block - 10, 1));
    mic(2 * second);
    EXPECT_EQ(micEnd(), 2 * second + block - 10) << "the rest waits";
}

TEST_F(CaptureTimelineTest, MicrophoneFlowsAloneWhenTheTapStops) {
    begin();
    mic(4 * block);
    EXPECT_EQ(micEnd(), 4 * block);
    m_tapIsDue = false;
    m_timeline.tapStopped();
    EXPECT_EQ(micEnd(), 5 * block);
    mic(5 * block);
    EXPECT_EQ(micEnd(), 6 * block);
    EXPECT_EQ(m_tap, withSilence(numbered(block, 4 * block, 1), 3 * block, 4 * block));
}

TEST_F(CaptureTimelineTest, WhatWaitsIsDeliveredWhenTheMicrophoneStops) {
    m_tapIsDue = false;
    begin();
    mic(4 * block);
    m_timeline.micStopped();
    EXPECT_EQ(m_mic, numbered(0, 5 * block, 1));
}

// --- the microphone's time ---

TEST_F(CaptureTimelineTest, SkippedCyclesOfTheMicrophoneAreSilence) {
    begin();
    const std::int64_t resumed = 4 * block + 2048;
    both(resumed, resumed + 10 * block);
    EXPECT_EQ(m_mic, withSilence(numbered(0, resumed + 10 * block, 1), 4 * block, resumed));
    EXPECT_EQ(tapAt(resumed), micAt(resumed));
}

TEST_F(CaptureTimelineTest, MicrophoneBlockThatIsALittleLateIsNoGap) {
    begin();
    for (const std::int64_t late : {400, 0, 479, 200}) {
        const std::int64_t frame = micEnd();
        m_timeline.micBlock(at(frame + late), numbered(frame, block, 1));
        tap(frame);
    }
    EXPECT_EQ(m_mic, numbered(0, 8 * block, 1));
}

TEST_F(CaptureTimelineTest, ShortLostCyclesCountOnceTheyAddUp) {
    begin();
    const std::int64_t lost = 256;
    both(4 * block + lost, 5 * block + lost);
    EXPECT_EQ(zeros(m_mic), 0);
    both(5 * block + 2 * lost, 6 * block + 2 * lost);
    EXPECT_NEAR(zeros(m_mic), 2 * lost, 12) << "the clock has begun to follow the first";
    EXPECT_NEAR(micAt(micEnd() - 1), micEnd(), 12);
}

TEST_F(CaptureTimelineTest, DelayThatLookedLikeAGapGivesItsTimeBack) {
    begin();
    // 50 ms late, and what was captured meanwhile comes at once.
    const std::int64_t late = 2400;
    for (int i = 0; i < 3; ++i) {
        const std::int64_t frame = (4 + i) * block;
        m_timeline.micBlock(at(4 * block + late + i), numbered(frame, block, 1));
        tap(frame);
    }
    both(7 * block, 12 * block);
    EXPECT_NEAR(static_cast<double>(micAt(11 * block)), 11 * block + 1, 480);
    EXPECT_NEAR(micEnd(), 12 * block, 480);
}

TEST_F(CaptureTimelineTest, EarlyBlocksOfTheMicrophoneLoseNothing) {
    begin();
    m_timeline.micBlock(at(3 * block), numbered(4 * block, block, 1));
    tap(4 * block);
    EXPECT_EQ(m_mic, numbered(0, 5 * block, 1));
}

TEST_F(CaptureTimelineTest, SilentMicrophoneIsSilenceByTheClock) {
    begin();
    const std::int64_t end = 4 * block + 10 * second;
    for (std::int64_t frame = 4 * block; frame < end; frame += block) {
        tap(frame);
        m_timeline.tick(at(frame + block));
    }
    EXPECT_NEAR(micEnd(), end, 13000) << "up to the tap's patience";
    EXPECT_EQ(zeros(m_mic), micEnd() - 4 * block);
    both(end, end + 5 * block);
    EXPECT_EQ(m_mic, withSilence(numbered(0, end + 5 * block, 1), 4 * block, end));
    EXPECT_EQ(m_tap, numbered(block, end + 4 * block, 1));
}

TEST_F(CaptureTimelineTest, ReturningMicrophoneLosesWhatIsAlreadyCovered) {
    begin();
    m_timeline.tick(at(4 * block + 96000));
    const std::int64_t covered = 4 * block + 96000 - 12000;
    const std::int64_t returned = covered - 500;
    both(returned, returned + 10 * block);
    EXPECT_EQ(m_mic, withSilence(numbered(0, returned + 10 * block, 1), 4 * block, covered));
}

TEST_F(CaptureTimelineTest, MicrophoneThatNeverCameIsSilenceOnceTheTapRuns) {
    for (std::int64_t frame = 0; frame < 5 * second; frame += block) {
        tap(frame);
        m_timeline.tick(at(frame + block));
    }
    EXPECT_EQ(m_tap, numbered(0, 5 * second, 1));
    EXPECT_NEAR(micEnd(), 5 * second, 13000);
    EXPECT_EQ(zeros(m_mic), micEnd());
    both(5 * second, 6 * second);
    EXPECT_EQ(micAt(6 * second - 1), 6 * second);
}

TEST_F(CaptureTimelineTest, WithoutAnySourceTimeDoesNothing) {
    m_timeline.tick(100s);
    m_timeline.tapStopped();
    m_timeline.micStopped();
    EXPECT_EQ(micEnd() + tapEnd(), 0);
}

// --- the whole process stands still ---

TEST_F(CaptureTimelineTest, StandstillOfTheWholeProcessIsNoPartOfTheRecording) {
    begin();
    const std::int64_t resumed = 4 * block + 61 * second;
    both(resumed, resumed + 10 * block);
    EXPECT_EQ(zeros(m_mic) + zeros(m_tap), 0);
    EXPECT_EQ(micEnd(), 14 * block);
    EXPECT_EQ(tapEnd(), 14 * block);
    EXPECT_EQ(micAt(4 * block), resumed + 1);
    EXPECT_EQ(tapAt(4 * block), resumed + 1);
    EXPECT_EQ(m_timeline.takenOut(), 61s + at(block));
}

TEST_F(CaptureTimelineTest, BlocksOfBeforeAStandstillKeepTheirPlace) {
    begin();
    m_timeline.tick(at(4 * block + 100 * second)); // the first to notice
    both(4 * block, 8 * block);
    both(100 * second, 100 * second + 10 * block);
    EXPECT_LT(zeros(m_mic) + zeros(m_tap), 480);
    EXPECT_NEAR(micEnd(), 18 * block, 4 * block + 480);
    EXPECT_EQ(micAt(micEnd() - 1), tapAt(micEnd() - 1));
}

TEST_F(CaptureTimelineTest, AnythingThatHappensShowsThatTheProcessDoesNotStandStill) {
    begin();
    for (std::int64_t frame = 4 * block; frame < 100 * second; frame += second) m_timeline.tick(at(frame));
    both(100 * second, 101 * second);
    EXPECT_EQ(m_timeline.takenOut(), 0s);
    EXPECT_EQ(micAt(micEnd() - 1), micEnd());
}

TEST_F(CaptureTimelineTest, SecondStandstillIsTakenOutToo) {
    begin();
    both(100 * second, 100 * second + 5 * block);
    both(200 * second, 200 * second + 5 * block);
    EXPECT_EQ(micEnd(), 14 * block);
    EXPECT_EQ(zeros(m_mic) + zeros(m_tap), 0);
}

// --- the tap ---

TEST_F(CaptureTimelineTest, MicrophoneSampleComesOnlyAfterTheTapsSample) {
    begin();
    mic(4 * block);
    tap(4 * block, 100);
    EXPECT_EQ(micEnd(), 4 * block + 100);
    tap(4 * block + 100, 2000);
    EXPECT_EQ(micEnd(), 5 * block);
    EXPECT_EQ(tapEnd(), 4 * block + 2100);
}

TEST_F(CaptureTimelineTest, SkippedCyclesOfTheTapAreSilence) {
    begin();
    for (std::int64_t frame = 4 * block; frame < 8 * block; frame += block) mic(frame);
    tap(4 * block + 2048);
    EXPECT_EQ(m_tap, withSilence(numbered(block, 4 * block + 2048, 1), 3 * block, 3 * block + 2048));
}

TEST_F(CaptureTimelineTest, TapThatIsAQuarterOfASecondLateIsSilentAndItsLateSamplesAreDropped) {
    begin();
    const std::int64_t delivered = 7 * block;
    for (std::int64_t frame = 4 * block; frame < delivered + 12000; frame += block) mic(frame);
    const std::int64_t silentUntil = tapEnd();
    EXPECT_NEAR(silentUntil, delivered, block);
    EXPECT_EQ(micEnd(), silentUntil);
    for (std::int64_t frame = 4 * block; frame < delivered + 12000; frame += block) tap(frame);
    EXPECT_EQ(m_tap, withSilence(numbered(block, tapEnd() - block, 1), 3 * block, silentUntil - block));
    EXPECT_EQ(m_mic, numbered(0, micEnd(), 1));
}

TEST_F(CaptureTimelineTest, LostTapIsSilenceUntilItIsBack) {
    begin();
    for (std::int64_t frame = 4 * block; frame < 100 * block; frame += block) mic(frame);
    EXPECT_EQ(micEnd(), 100 * block - 12000);
    both(100 * block, 110 * block);
    EXPECT_EQ(m_tap, withSilence(numbered(block, 109 * block, 1), 3 * block, 99 * block));
    EXPECT_EQ(m_mic, numbered(0, 110 * block, 1));
}

TEST_F(CaptureTimelineTest, WithBothSourcesLostBothAreSilentInStep) {
    begin();
    for (int i = 1; i < 1200; ++i) m_timeline.tick(at(4 * block) + 50ms * i);
    EXPECT_NEAR(micEnd(), 60 * second, 30000);
    EXPECT_EQ(tapEnd(), micEnd());
    EXPECT_LE(m_longestLead, PendingAudio::longestPiece);
    both(61 * second, 61 * second + 4 * block);
    EXPECT_EQ(micAt(micEnd() - 1), micEnd());
    EXPECT_EQ(tapAt(micEnd() - 1), micEnd());
}

TEST_F(CaptureTimelineTest, LongStopOfTheWholeProgramNeverBringsTheTapFarAhead) {
    begin();
    const std::int64_t resumed = 50 * second;
    tap(resumed); // the tap's thread is the first to go on
    both(resumed + block, resumed + 4 * block);
    EXPECT_LE(m_longestLead, 2 * second);
    EXPECT_EQ(zeros(m_mic), resumed + block - 4 * block) << "the microphone's block was never given";
    EXPECT_EQ(zeros(m_tap), resumed - 4 * block);
    EXPECT_EQ(micAt(micEnd() - 1), micEnd());
    EXPECT_EQ(tapAt(tapEnd() - 1), tapEnd());
}

} // namespace

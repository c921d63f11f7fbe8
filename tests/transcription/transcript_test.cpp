#include "transcription/transcript.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

std::string timeOf(double start) {
    const std::string text = transcriptText({{start, "You", "x"}});
    return text.substr(0, text.find(' '));
}

TEST(Transcript, StartsAreCutToWholeSecondsAndMinutesAreNotFoldedIntoHours) {
    EXPECT_EQ(timeOf(59.99), "[00:59]");
    EXPECT_EQ(timeOf(60.0), "[01:00]");
    EXPECT_EQ(timeOf(3725.9), "[62:05]");
}

TEST(Transcript, MinutesGrowToAsManyDigitsAsTheyNeed) {
    EXPECT_EQ(timeOf(6000), "[100:00]");
    EXPECT_EQ(timeOf(9.2e18), "[153333333333333333:20]");
}

TEST(Transcript, NegativeStartsAreCutTowardsZero) {
    EXPECT_EQ(timeOf(-0.9), "[00:00]");
    EXPECT_EQ(timeOf(-61.5), "[-1:-1]");
}

TEST(TranscriptDeathTest, StartThatNoWholeNumberHoldsIsAProgrammingError) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(transcriptText({{0x1p63, "You", "x"}}), "");
    EXPECT_DEATH(transcriptText({{std::numeric_limits<double>::quiet_NaN(), "You", "x"}}), "");
}

TEST(Transcript, EqualStartsKeepTheirOrderSoYouComesBeforeAudio) {
    EXPECT_EQ(transcriptText({{5.0, "You", "a"}, {5.0, "Audio", "b"}}), "[00:05] You: a\n[00:05] Audio: b");
}

TEST(Transcript, EarlierAudioIsWrittenBeforeYou) {
    EXPECT_EQ(transcriptText({{5.0, "You", "a"}, {4.9, "Audio", "b"}}), "[00:04] Audio: b\n[00:05] You: a");
}

TEST(Transcript, SortIsStableForManyEqualStarts) {
    std::vector<Segment> segments;
    std::string expected;
    for (int i = 0; i < 100; ++i) {
        segments.push_back({7.0, "You", std::to_string(i)});
        expected += "\n[00:07] You: " + std::to_string(i);
    }
    segments.push_back({6.0, "Audio", "first"});
    EXPECT_EQ(transcriptText(segments), "[00:06] Audio: first" + expected);
}

TEST(Transcript, OneSegmentIsOneLineWithoutLineFeed) {
    EXPECT_EQ(transcriptText({{3.2, "You", "Can you hear me?"}}), "[00:03] You: Can you hear me?");
}

TEST(Transcript, LinesAreSeparatedByOneLineFeedWithNoneAtTheEnd) {
    EXPECT_EQ(transcriptText({{3.2, "You", "Can you hear me?"}, {4.7, "Audio", "Yes, loud and clear."}}),
              "[00:03] You: Can you hear me?\n[00:04] Audio: Yes, loud and clear.");
}

TEST(Transcript, TextIsWrittenAsItIs) {
    EXPECT_EQ(transcriptText({{0, "You", "100% %s \xC3\xBC\\n"}}), "[00:00] You: 100% %s \xC3\xBC\\n");
}

} // namespace

#include "app/quit_patience.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

const std::string next = "at the next start";

TEST(QuitPatienceTest, EndsAfterFiveSecondsInWhichNothingWasSaved) {
    QuitPatience patience(100s, {7, 3});
    EXPECT_TRUE(patience.goesOn(104999ms, {7, 3}));
    EXPECT_FALSE(patience.goesOn(105s, {7, 3}));
}

TEST(QuitPatienceTest, GoesOnWhileLessAndLessRemains) {
    QuitPatience patience(0s, {7, 3});
    EXPECT_TRUE(patience.goesOn(4s, {6.9, 3})) << "a write";
    EXPECT_TRUE(patience.goesOn(8s, {6.9, 2})) << "a file was closed";
    EXPECT_TRUE(patience.goesOn(12s, {7.5, 2})) << "the last sound came in";
    EXPECT_FALSE(patience.goesOn(13s, {7.2, 2})) << "which is no progress";
}

TEST(QuitPatienceTest, EndsAfterAMinuteInAnyCase) {
    QuitPatience patience(0s, {60, 3});
    for (int second = 1; second < 60; ++second)
        EXPECT_TRUE(patience.goesOn(std::chrono::seconds(second), {60.0 - second / 2.0, 3})) << second;
    EXPECT_FALSE(patience.goesOn(60s, {29, 3}));
}

TEST(QuitPatienceTest, NamesWhatIsLostRoundedUp) {
    const std::string recording = "recording-2026-01-02-030405";
    EXPECT_EQ(lossAtQuit({11.2, 3}, recording, next),
              "Murmelo has ended because the disk did not answer. The last 12 seconds of "
              "“recording-2026-01-02-030405” are lost; what came before is repaired at the next start.");
    EXPECT_EQ(lossAtQuit({0.4, 1}, recording, next),
              "Murmelo has ended because the disk did not answer. The last second of "
              "“recording-2026-01-02-030405” is lost; what came before is repaired at the next start.");
}

TEST(QuitPatienceTest, SaysWhenOnlyTheEndOfTheFileIsMissing) {
    EXPECT_EQ(lossAtQuit({0, 1}, "recording-2026-01-02-030405", next),
              "Murmelo has ended because the disk did not answer. Nothing of "
              "“recording-2026-01-02-030405” is lost: it is repaired at the next start.");
}

TEST(QuitPatienceTest, HasNothingToSayAboutClosedFiles) {
    EXPECT_EQ(lossAtQuit({}, "recording-2026-01-02-030405", next), "");
}

} // namespace

#include "platform/media/ffmpeg_log.h"

#include "base/error.h"
#include "platform/media/ffmpeg_handles.h"
#include "platform/media/media_fixture.h"

#include <string>

namespace {

using namespace std::chrono_literals;
using Verdict = LineBudget::Verdict;

TEST(LineBudget, TenLinesAMinuteTheTenthSaysThatOthersAreDropped) {
    LineBudget budget;
    const LineBudget::Time start{1h};
    for (int i = 1; i < LineBudget::linesPerMinute; ++i) EXPECT_EQ(budget.next(start), Verdict::write);
    EXPECT_EQ(budget.next(start + 1s), Verdict::writeThatOthersAreDropped);
    for (int i = 0; i < 1000; ++i) EXPECT_EQ(budget.next(start + 59s), Verdict::drop);
    EXPECT_EQ(budget.next(start + 60s), Verdict::write);
}

using FfmpegLogTest = MediaTest;

TEST_F(FfmpegLogTest, MessageIsALineOfTheDebugLogWithTheNameOfFfmpegsPart) {
    writeFile(folder / "rubbish.m4a", "rubbish");
    EXPECT_THROW(decodedLengthOf(folder / "rubbish.m4a"), Error);
    ASSERT_FALSE(log.messages().empty());
    EXPECT_EQ(log.messages().front(), "[rec] mov,mp4,m4a,3gp,3g2,mj2: moov atom not found");
}

TEST_F(FfmpegLogTest, NothingGoesToStandardError) {
    writeFile(folder / "rubbish.m4a", "rubbish");
    testing::internal::CaptureStderr();
    EXPECT_THROW(decodedLengthOf(folder / "rubbish.m4a"), Error);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Checked, NegativeResultBecomesAnErrorWithFfmpegsWords) {
    EXPECT_EQ(checked(7, "unused"), 7);
    try {
        checked(-12, "The audio file cannot be read");
        ADD_FAILURE() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.printed(),
                  "Error Domain=ffmpeg Code=-12 \"The audio file cannot be read: Cannot allocate memory\"");
    }
}

} // namespace

#include "capture/writer_backlog.h"

#include <gtest/gtest.h>

namespace {

constexpr std::size_t second = 48000;

TEST(WriterBacklog, TakesAMinuteAndNotOneFrameMore) {
    WriterBacklog backlog;
    for (int i = 0; i < 60; ++i) EXPECT_EQ(backlog.add(second), 0U);
    EXPECT_EQ(backlog.add(1), std::nullopt);
}

TEST(WriterBacklog, NeverDropsWhatIsWrittenInTime) {
    WriterBacklog backlog;
    for (int i = 0; i < 100000; ++i) {
        ASSERT_EQ(backlog.add(second), 0U);
        backlog.remove(second);
    }
}

TEST(WriterBacklog, NextBlockCarriesTheLengthOfAllThatWasDroppedOnce) {
    WriterBacklog backlog;
    backlog.add(WriterBacklog::mostFrames);
    for (const std::size_t frames : {480U, 1024U, 256U}) EXPECT_EQ(backlog.add(frames), std::nullopt);
    backlog.remove(WriterBacklog::mostFrames);
    EXPECT_EQ(backlog.add(480), 1760U);
    EXPECT_EQ(backlog.add(480), 0U);
}

/// A writer that stalls now and then, in virtual time: whatever is dropped, every block that is written
/// stands where it was captured.
TEST(WriterBacklog, EveryBlockKeepsItsPlaceWhateverTheWriterDoes) {
    constexpr std::size_t block = 1000;
    WriterBacklog backlog;
    std::size_t captured = 0;
    std::size_t filed = 0;
    std::size_t waiting = 0;
    for (int i = 0; i < 200000; ++i) {
        if (const auto missing = backlog.add(block)) {
            filed += *missing;
            ASSERT_EQ(filed, captured) << i;
            filed += block;
            ++waiting;
        }
        captured += block;
        ASSERT_LE(waiting * block, WriterBacklog::mostFrames);
        const bool stalls = i / 5000 % 3 != 0;
        for (int writes = stalls ? 0 : 3; writes > 0 && waiting > 0; --writes, --waiting)
            backlog.remove(block);
    }
}

} // namespace

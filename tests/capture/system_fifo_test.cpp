#include "capture/system_fifo.h"

#include <deque>
#include <gtest/gtest.h>
#include <numeric>
#include <random>

namespace {

std::vector<float> ramp(std::size_t count, float first = 0) {
    std::vector<float> samples(count);
    std::iota(samples.begin(), samples.end(), first);
    return samples;
}

struct Taken {
    std::vector<float> left, right;
    std::size_t count;
};

Taken take(SystemFifo& fifo, std::size_t count) {
    Taken taken{std::vector<float>(count, 9), std::vector<float>(count, 9), 0};
    taken.count = fifo.take(taken.left, taken.right);
    return taken;
}

TEST(SystemFifo, HandsOutTheOldestFirstAndKeepsTheRest) {
    SystemFifo fifo;
    fifo.append(ramp(5000), ramp(5000, 100000));
    const Taken taken = take(fifo, 1024);
    EXPECT_EQ(taken.count, 1024U);
    EXPECT_EQ(taken.left, ramp(1024));
    EXPECT_EQ(taken.right, ramp(1024, 100000));
    EXPECT_EQ(fifo.size(), 3976U);
}

TEST(SystemFifo, PadsWithZerosWhatIsMissing) {
    SystemFifo fifo;
    fifo.append(ramp(300, 1), ramp(300, 1));
    const Taken taken = take(fifo, 1024);
    EXPECT_EQ(taken.count, 300U);
    std::vector<float> expected = ramp(300, 1);
    expected.resize(1024, 0.0F);
    EXPECT_EQ(taken.left, expected);
    EXPECT_EQ(taken.right, expected);
    EXPECT_EQ(fifo.size(), 0U);
}

TEST(SystemFifo, GrowsToTheCapAndKeepsTheMostRecent) {
    SystemFifo fifo;
    for (int i = 0; i < 250; ++i) fifo.append(ramp(1000, static_cast<float>(i) * 1000), ramp(1000));
    EXPECT_EQ(fifo.size(), 240000U);
    EXPECT_EQ(take(fifo, 1).left, std::vector<float>{10000});
}

TEST(SystemFifo, BlockLargerThanTheCapKeepsItsEnd) {
    SystemFifo fifo;
    fifo.append(ramp(240010), ramp(240010));
    EXPECT_EQ(fifo.size(), 240000U);
    EXPECT_EQ(take(fifo, 2).left, (std::vector<float>{10, 11}));
}

TEST(SystemFifo, ClearedIsEmpty) {
    SystemFifo fifo;
    fifo.append(ramp(10), ramp(10));
    fifo.clear();
    EXPECT_EQ(fifo.size(), 0U);
    EXPECT_EQ(take(fifo, 2).left, (std::vector<float>{0, 0}));
}

TEST(SystemFifo, BehavesLikeAPlainQueueUnderRandomUse) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    SystemFifo fifo;
    std::deque<float> model;
    float next = 0;
    for (int i = 0; i < 2000; ++i) {
        const std::size_t count = random() % 4000;
        if (random() % 3 != 0) {
            const std::vector<float> block = ramp(count, next);
            next += static_cast<float>(count);
            fifo.append(block, block);
            model.insert(model.end(), block.begin(), block.end());
            while (model.size() > SystemFifo::fifoCap) model.pop_front();
        } else {
            const Taken taken = take(fifo, count);
            ASSERT_EQ(taken.count, std::min(count, model.size()));
            for (std::size_t k = 0; k < count; ++k) {
                ASSERT_EQ(taken.left[k], model.empty() ? 0 : model.front());
                ASSERT_EQ(taken.right[k], taken.left[k]);
                if (!model.empty()) model.pop_front();
            }
        }
        ASSERT_EQ(fifo.size(), model.size());
    }
}

} // namespace

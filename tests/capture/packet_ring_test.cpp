#include "capture/packet_ring.h"

#include <gtest/gtest.h>
#include <numeric>
#include <thread>

namespace {

using namespace std::chrono_literals;

using Blocks = std::vector<std::vector<float>>;

Blocks drained(PacketRing& ring) {
    Blocks blocks;
    ring.drain([&](auto, std::span<const float> block) { blocks.emplace_back(block.begin(), block.end()); });
    return blocks;
}

TEST(PacketRing, KeepsTheBoundariesOfBlocks) {
    PacketRing ring(100);
    EXPECT_TRUE(ring.push(0ns, std::vector<float>{1, 2, 3}));
    EXPECT_TRUE(ring.push(0ns, {}));
    EXPECT_TRUE(ring.push(0ns, std::vector<float>{4}));
    EXPECT_EQ(drained(ring), (Blocks{{1, 2, 3}, {}, {4}}));
    EXPECT_EQ(drained(ring), Blocks{});
}

TEST(PacketRing, CountsWhatFindsNoRoomAndKeepsTheRest) {
    PacketRing ring(12);
    EXPECT_TRUE(ring.push(0ns, std::vector<float>{1, 2, 3}));
    EXPECT_TRUE(ring.push(0ns, std::vector<float>{4, 5, 6}));
    EXPECT_FALSE(ring.push(0ns, std::vector<float>{7}));
    EXPECT_FALSE(ring.push(0ns, std::vector<float>(20)));
    EXPECT_EQ(ring.dropped(), 2U);
    EXPECT_EQ(drained(ring), (Blocks{{1, 2, 3}, {4, 5, 6}}));
}

TEST(PacketRing, HandsOutEveryBlockInOnePieceAcrossTheEndOfTheMemory) {
    PacketRing ring(64);
    float next = 0;
    for (std::size_t size = 0; size < 200; ++size) {
        std::vector<float> block(size % 30);
        std::iota(block.begin(), block.end(), next);
        next += static_cast<float>(block.size());
        ASSERT_TRUE(ring.push(0ns, block)) << size;
        ASSERT_EQ(drained(ring), Blocks{block}) << size;
    }
}

TEST(PacketRing, CarriesBlocksBetweenThreadsInOrder) {
    PacketRing ring(1000);
    constexpr int count = 20000;
    std::thread producer([&] {
        for (int i = 0; i < count;) {
            const std::vector<float> block(static_cast<std::size_t>(i % 50), static_cast<float>(i));
            if (ring.push(std::chrono::nanoseconds(INT64_C(1'000'000'000'000) + i), block))
                ++i;
            else
                std::this_thread::yield();
        }
    });
    int seen = 0;
    bool intact = true;
    while (seen < count) {
        ring.drain([&](PacketRing::Time time, std::span<const float> block) {
            intact = intact && time.count() == INT64_C(1'000'000'000'000) + seen;
            intact = intact && block.size() == static_cast<std::size_t>(seen % 50);
            for (const float sample : block) intact = intact && sample == static_cast<float>(seen);
            ++seen;
        });
        std::this_thread::yield();
    }
    producer.join();
    EXPECT_TRUE(intact);
}

} // namespace

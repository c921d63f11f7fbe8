#include "capture/mixdown.h"
#include "capture/pcm_block.h"

#include <array>
#include <gtest/gtest.h>
#include <vector>

namespace {

std::vector<float> mix(std::vector<float> mic, const std::vector<float>& system) {
    std::vector<float> result(mic.size());
    mixDown(mic, system, result);
    return result;
}

TEST(Mixdown, AddsBothSourcesAtUnityGain) {
    EXPECT_EQ(mix({0.25F, -0.5F}, {0.5F, 0.25F}), (std::vector<float>{0.75F, -0.25F}));
}

TEST(Mixdown, ClipsAtFullScale) {
    EXPECT_EQ(mix({0.8F, -0.8F, 1.5F}, {0.5F, -0.5F, 0}), (std::vector<float>{1.0F, -1.0F, 1.0F}));
}

TEST(Mixdown, MayReplaceTheSystemAudioInPlace) {
    const std::vector<float> mic{0.5F, 0.5F};
    std::vector<float> system{0.25F, 1.0F};
    mixDown(mic, system, system);
    EXPECT_EQ(system, (std::vector<float>{0.75F, 1.0F}));
}

TEST(AudioLevel, IsFourTimesTheRmsUpToOne) {
    EXPECT_FLOAT_EQ(audioLevel(std::vector<float>(480, 0.1F)), 0.4F);
    EXPECT_FLOAT_EQ(audioLevel(std::vector<float>(480, -0.1F)), 0.4F);
    EXPECT_EQ(audioLevel(std::vector<float>(480, 0.3F)), 1.0F);
}

TEST(AudioLevel, IsZeroForNoSamples) {
    EXPECT_EQ(audioLevel({}), 0.0F);
}

class Block : public testing::Test {
  protected:
    static std::optional<PcmBlock> make(const std::vector<std::vector<float>>& channels,
                                        std::uint32_t wanted) {
        const std::vector<std::span<const float>> spans(channels.begin(), channels.end());
        return makePcmBlock(spans, {48000.0, wanted});
    }
    using Channels = std::vector<std::vector<float>>;
};

TEST_F(Block, CopiesEachChannel) {
    EXPECT_EQ(make({{1, 2}, {3, 4}}, 2)->channels, (Channels{{1, 2}, {3, 4}}));
}

TEST_F(Block, IsNoneWithoutChannelsSamplesOrFormat) {
    EXPECT_FALSE(make({}, 2));
    EXPECT_FALSE(make({{}, {1}}, 2));
    EXPECT_FALSE(make({{1}, {1}}, 0));
}

TEST_F(Block, TakesItsLengthFromTheFirstChannel) {
    EXPECT_EQ(make({{1, 2}, {3}}, 2)->channels, (Channels{{1, 2}, {3, 0}}));
    EXPECT_EQ(make({{1}, {3, 4}}, 2)->channels, (Channels{{1}, {3}}));
}

TEST_F(Block, IgnoresSurplusChannelsAndLeavesMissingOnesSilent) {
    EXPECT_EQ(make({{1}, {2}, {3}}, 2)->channels, (Channels{{1}, {2}}));
    EXPECT_EQ(make({{1}}, 2)->channels, (Channels{{1}, {0}}));
}

} // namespace

#include "platform/pipewire/downmix.h"

#include <gmock/gmock.h>

namespace {

using pipewire::downmixToStereo;
using testing::ElementsAre;
using testing::FloatEq;

std::vector<float> stereoOf(const std::vector<float>& surround) {
    std::vector<float> stereo;
    downmixToStereo(surround, stereo);
    return stereo;
}

TEST(Downmix, FrontChannelsStayAsTheyAre) {
    EXPECT_THAT(stereoOf({0.3F, -0.7F, 0, 0, 0, 0, 0, 0}), ElementsAre(0.3F, -0.7F));
}

TEST(Downmix, CentreSoundsOnBothSidesSofter) {
    EXPECT_THAT(stereoOf({0, 0, 1, 0, 0, 0, 0, 0}), ElementsAre(FloatEq(0.70710678F), FloatEq(0.70710678F)));
}

TEST(Downmix, SurroundsSoundOnTheirSideSofter) {
    EXPECT_THAT(stereoOf({0, 0, 0, 0, 1, 0, 0.5F, 0}), ElementsAre(FloatEq(1.06066017F), 0));
    EXPECT_THAT(stereoOf({0, 0, 0, 0, 0, 1, 0, 0.5F}), ElementsAre(0, FloatEq(1.06066017F)));
}

TEST(Downmix, LowFrequencyChannelIsLeftOut) {
    EXPECT_THAT(stereoOf({0, 0, 0, 1, 0, 0, 0, 0}), ElementsAre(0, 0));
}

TEST(Downmix, EveryFrameBecomesAPair) {
    EXPECT_THAT(stereoOf({1, 2, 0, 0, 0, 0, 0, 0, 3, 4, 0, 0, 0, 0, 0, 0}), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(stereoOf({}), ElementsAre());
}

} // namespace

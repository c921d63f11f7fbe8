#include "capture/mic_choice.h"

#include <gtest/gtest.h>
#include <unordered_set>

namespace {

using Mics = std::vector<MicChoice>;

TEST(MicChoice, EqualityAndHashCoverBothFields) {
    const std::unordered_set<MicChoice> set{{"a", "Mic"}, {"a", "Other"}, {"b", "Mic"}, {"a", "Mic"}};
    EXPECT_EQ(set.size(), 3U);
    EXPECT_NE((MicChoice{"a", "Mic"}), (MicChoice{"a", "Other"}));
}

TEST(OfferedMics, LoopbackDriversAreLeftOutInAnyLetterCaseAndTheOrderIsKept) {
    EXPECT_EQ(offeredMics({{"1", "Zeta"}, {"2", "blackhole 2ch"}, {"3", "My BLACKHOLE"}, {"4", "Alpha"}}),
              (Mics{{"1", "Zeta"}, {"4", "Alpha"}}));
}

TEST(OfferedMics, OnlyLoopbackDriversYieldsNone) {
    EXPECT_EQ(offeredMics({{"1", "BlackHole"}}), Mics{});
}

TEST(OfferedMics, NamesThatOnlyBeginAlikeStay) {
    EXPECT_EQ(offeredMics({{"1", "Black Hole"}, {"2", "blackhol"}}).size(), 2U);
}

TEST(AutomaticMic, IsTheDefaultWhenItIsOffered) {
    EXPECT_EQ(automaticMicID({{"1", "A"}, {"2", "B"}}, "2"), "2");
}

TEST(AutomaticMic, IsTheFirstWhenTheDefaultIsNotOfferedOrUnknown) {
    EXPECT_EQ(automaticMicID({{"1", "A"}, {"2", "B"}}, "3"), "1");
    EXPECT_EQ(automaticMicID({{"1", "A"}, {"2", "B"}}, std::nullopt), "1");
}

TEST(AutomaticMic, IsNoneWhenNothingIsOffered) {
    EXPECT_EQ(automaticMicID({}, "3"), std::nullopt);
    EXPECT_EQ(automaticMicID({}, std::nullopt), std::nullopt);
}

} // namespace

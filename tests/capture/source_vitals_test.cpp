#include "capture/awake_time.h"
#include "capture/revival_plan.h"
#include "capture/source_vitals.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using Event = SourceVitals::Event;
using Events = std::vector<Event>;

constexpr int second = SourceVitals::roundsPerSecond;

class SourceVitalsTest : public testing::Test {
  protected:
    Events quiet(int rounds) { return rounds_(rounds, false, false); }
    Events zeros(int rounds) { return rounds_(rounds, true, false); }
    Events sound(int rounds) { return rounds_(rounds, true, true); }

  private:
    Events rounds_(int rounds, bool gave, bool sounded) {
        Events events;
        for (int i = 0; i < rounds; ++i)
            if (const auto event = m_vitals.round(gave, sounded)) events.push_back(*event);
        return events;
    }

    SourceVitals m_vitals;
};

TEST_F(SourceVitalsTest, SourceThatComesIsNothingToTell) {
    EXPECT_EQ(quiet(8 * second - 1), Events{});
    EXPECT_EQ(sound(100 * second), Events{});
}

TEST_F(SourceVitalsTest, SourceThatGivesNothingForEightSecondsNeverCame) {
    EXPECT_EQ(quiet(8 * second), Events{Event::neverCame});
    EXPECT_EQ(quiet(100 * second), Events{});
    EXPECT_EQ(sound(1), Events{Event::came});
}

TEST_F(SourceVitalsTest, SourceIsLostAfterASecondAndBackAtOnce) {
    sound(1);
    EXPECT_EQ(quiet(second - 1), Events{});
    EXPECT_EQ(sound(1), Events{});
    EXPECT_EQ(quiet(second), Events{Event::lost});
    EXPECT_EQ(quiet(100 * second), Events{});
    EXPECT_EQ(zeros(1), Events{Event::back});
}

TEST_F(SourceVitalsTest, SourceThatComesAndGoesIsNotToldAllTheTime) {
    sound(1);
    Events events;
    for (int i = 0; i < 30; ++i) {
        for (const Event event : quiet(second)) events.push_back(event);
        for (const Event event : sound(1)) events.push_back(event);
    }
    EXPECT_GE(events.size(), 6U);
    EXPECT_LE(events.size(), 16U);
    EXPECT_EQ(quiet(6 * second), Events{Event::lost}) << "in the end what is true is told";
    EXPECT_EQ(sound(1), Events{Event::back});
}

TEST_F(SourceVitalsTest, OnlyZerosForHalfAMinuteAreToldOnce) {
    EXPECT_EQ(zeros(30 * second - 1), Events{});
    EXPECT_EQ(zeros(1), Events{Event::mute});
    EXPECT_EQ(zeros(100 * second), Events{});
    EXPECT_EQ(sound(1), Events{Event::audible});
    EXPECT_EQ(zeros(100 * second), Events{});
}

TEST_F(SourceVitalsTest, SingleSoundIsEnoughToBeHeard) {
    zeros(29 * second);
    sound(1);
    EXPECT_EQ(zeros(29 * second), Events{});
}

TEST_F(SourceVitalsTest, LossOfAMuteSourceIsToldAsALoss) {
    zeros(30 * second);
    EXPECT_EQ(quiet(10 * second), Events{Event::lost});
    EXPECT_EQ(zeros(1), Events{Event::back});
}

// --- when to open again ---

std::vector<int> openings(RevivalPlan& plan, int rounds, bool succeed) {
    std::vector<int> found;
    for (int i = 1; i <= rounds; ++i) {
        if (!plan.round(false)) continue;
        found.push_back(i);
        succeed ? plan.opened() : plan.notOpened();
    }
    return found;
}

TEST(RevivalPlanTest, LostSourceIsTriedEverySecond) {
    RevivalPlan plan;
    EXPECT_FALSE(plan.round(true));
    EXPECT_EQ(openings(plan, 16, false), (std::vector{4, 8, 12, 16}));
}

TEST(RevivalPlanTest, OpenedSourceGetsLongerEachTimeUntilItGivesSomething) {
    RevivalPlan plan;
    EXPECT_FALSE(plan.round(true));
    EXPECT_EQ(openings(plan, 56, true), (std::vector{4, 8, 16, 32, 48}));
    EXPECT_FALSE(plan.round(true));
    EXPECT_EQ(openings(plan, 16, true), (std::vector{4, 8, 16}));
}

TEST(RevivalPlanTest, FirstBlockMayTakeFourSeconds) {
    RevivalPlan plan;
    EXPECT_EQ(openings(plan, 19, false), std::vector{16});
}

// --- time ---

using namespace std::chrono_literals;

TEST(AwakeTimeTest, IsTheTimeUntilTheProcessStandsStill) {
    AwakeTime awake;
    EXPECT_EQ(awake.of(100s), 100s);
    EXPECT_EQ(awake.of(99s), 99s);
    EXPECT_EQ(awake.of(160s), 160s);
    EXPECT_EQ(awake.takenOut(), 0s);
}

TEST(AwakeTimeTest, StandstillTakesNoTime) {
    AwakeTime awake;
    EXPECT_EQ(awake.of(100s), 100s);
    EXPECT_EQ(awake.of(161s), 100s);
    EXPECT_EQ(awake.of(162s), 101s);
    EXPECT_EQ(awake.of(99s), 99s) << "noted before";
    EXPECT_EQ(awake.of(130s), 100s) << "noted meanwhile";
    EXPECT_EQ(awake.of(262s), 101s);
    EXPECT_EQ(awake.of(261s), 101s);
    EXPECT_EQ(awake.takenOut(), 161s);
}

} // namespace

#include "app/published.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

class PublishedTest : public testing::Test {
  protected:
    std::vector<std::string> m_events;
    Published<int>::WillChange m_willChange;
    Published<int> m_value{m_willChange, Field::elapsed, 1,
                           [this](int value) { m_events.push_back("stored " + std::to_string(value)); }};

    void SetUp() override {
        m_willChange = [this](Field field) {
            EXPECT_EQ(field, Field::elapsed);
            m_events.push_back("announced at " + std::to_string(m_value));
        };
    }
};

TEST_F(PublishedTest, InitialValueIsNeitherAnnouncedNorStored) {
    EXPECT_EQ(m_value.get(), 1);
    EXPECT_TRUE(m_events.empty());
}

TEST_F(PublishedTest, AnAssignmentIsAnnouncedBeforeItTakesEffectAndStoredAfterwards) {
    m_value = 2;
    EXPECT_EQ(m_events, (std::vector<std::string>{"announced at 1", "stored 2"}));
}

TEST_F(PublishedTest, AnEqualAssignmentIsAnnouncedAndStoredToo) {
    m_value = 1;
    EXPECT_EQ(m_events, (std::vector<std::string>{"announced at 1", "stored 1"}));
}

TEST_F(PublishedTest, NobodyNeedsToListen) {
    m_willChange = nullptr;
    m_value = 3;
    EXPECT_EQ(m_value.get(), 3);
}

} // namespace

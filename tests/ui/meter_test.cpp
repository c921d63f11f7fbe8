#include "ui/ui_fixture.h"

#include <limits>

namespace {

class Meter : public UiFixture {
  protected:
    /// The filled part of the microphone's meter.
    double filled(float level) {
        m_state->micLevel = level;
        runEventLoop();
        return fill().width() / item("micMeter").width();
    }
    QQuickItem& fill() const { return *item("micMeter").findChild<QQuickItem*>("fill"); }
};

TEST_F(Meter, ShowsTheLevelAsAFractionOfItsWidth) {
    openPanel();
    EXPECT_EQ(filled(0), 0);
    EXPECT_EQ(filled(0.5F), 0.5);
    EXPECT_EQ(filled(1), 1);
    EXPECT_DOUBLE_EQ(filled(0.1F), 0.1F);
}

TEST_F(Meter, TakesTheNearestPossibleLevel) {
    openPanel();
    EXPECT_EQ(filled(1.7F), 1);
    EXPECT_EQ(filled(std::numeric_limits<float>::infinity()), 1);
    EXPECT_EQ(filled(-0.2F), 0);
    EXPECT_EQ(filled(-std::numeric_limits<float>::infinity()), 0);
}

TEST_F(Meter, IsEmptyForWhatIsNoNumber) {
    openPanel();
    EXPECT_EQ(filled(0.5F), 0.5);
    EXPECT_EQ(filled(std::numeric_limits<float>::quiet_NaN()), 0);
    EXPECT_FALSE(fill().isVisible());
}

TEST_F(Meter, IsFourHighAndAsWideAsThePicker) {
    openPanel();
    EXPECT_EQ(item("micMeter").height(), 4);
    EXPECT_EQ(item("outputMeter").height(), 4);
    EXPECT_EQ(item("micMeter").width(), item("micPicker").width());
    EXPECT_EQ(item("micMeter").mapToScene({}).x(), item("micPicker").mapToScene({}).x());
    EXPECT_EQ(item("outputMeter").width(), item("micMeter").width());
}

TEST_F(Meter, DrawsNothingInNoWidth) {
    openPanel();
    m_state->micLevel = 1;
    runEventLoop();
    item("micMeter").setWidth(0);
    EXPECT_EQ(fill().width(), 0);
    EXPECT_FALSE(fill().isVisible());
}

TEST_F(Meter, EachMeterHasItsOwnLevelAndColour) {
    openPanel();
    m_state->micLevel = 0.25F;
    m_state->outputLevel = 0.75F;
    runEventLoop();
    const QQuickItem& output = *item("outputMeter").findChild<QQuickItem*>("fill");
    EXPECT_EQ(fill().width(), item("micMeter").width() * 0.25);
    EXPECT_EQ(output.width(), item("outputMeter").width() * 0.75);
    EXPECT_EQ(fill().property("color"), theme().property("green"));
    EXPECT_EQ(output.property("color"), theme().property("blue"));
}

TEST_F(Meter, FillsFromTheRightWhereOneReadsFromThere) {
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    openPanel();
    m_state->micLevel = 0.25F;
    runEventLoop();
    EXPECT_EQ(fill().x() + fill().width(), item("micMeter").width());
}

} // namespace

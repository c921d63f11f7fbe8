#include "base/number_text.h"

#include <clocale>
#include <gtest/gtest.h>
#include <limits>

namespace {

TEST(NumberText, WholeNumbersEndInPointZero) {
    EXPECT_EQ(shortestDecimal(8.0), "8.0");
    EXPECT_EQ(shortestDecimal(0.0), "0.0");
    EXPECT_EQ(shortestDecimal(48000.0f), "48000.0");
}

TEST(NumberText, ShortestFormReadsBackExactly) {
    EXPECT_EQ(shortestDecimal(0.3), "0.3");
    EXPECT_EQ(shortestDecimal(0.1f), "0.1");
    EXPECT_EQ(shortestDecimal(0.1 + 0.2), "0.30000000000000004");
    EXPECT_EQ(shortestDecimal(0.0005f), "0.0005");
}

TEST(NumberText, SmallAndLargeNumbersStayFixed) {
    EXPECT_EQ(shortestDecimal(1e-7), "0.0000001");
    EXPECT_EQ(shortestDecimal(1e21), "1000000000000000000000.0");
    EXPECT_EQ(shortestDecimal(std::numeric_limits<double>::max()).size(), 311U);
    EXPECT_GT(shortestDecimal(std::numeric_limits<double>::denorm_min()).size(), 300U);
}

TEST(NumberText, NotFiniteValuesHaveNames) {
    EXPECT_EQ(shortestDecimal(std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(shortestDecimal(-std::numeric_limits<float>::infinity()), "-inf");
}

TEST(NumberText, FixedDecimalRoundsLikePrintf) {
    EXPECT_EQ(fixedDecimal(0.42, 2), "0.42");
    EXPECT_EQ(fixedDecimal(0.5, 2), "0.50");
    EXPECT_EQ(fixedDecimal(0.126, 2), "0.13");
    EXPECT_EQ(fixedDecimal(12.0, 2), "12.00");
}

TEST(NumberText, DecimalCommaOfTheLocaleIsIgnored) {
    const char* german = std::setlocale(LC_NUMERIC, "de_DE.UTF-8"); // null where it is not installed
    EXPECT_EQ(fixedDecimal(0.42, 2), "0.42") << (german ? german : "locale not installed");
    EXPECT_EQ(shortestDecimal(0.42), "0.42");
    std::setlocale(LC_NUMERIC, "C");
}

TEST(MinutesAndSeconds, AreTruncatedAndNeverFoldedIntoHours) {
    EXPECT_EQ(minutesAndSeconds(0), "00:00");
    EXPECT_EQ(minutesAndSeconds(59.99), "00:59");
    EXPECT_EQ(minutesAndSeconds(60), "01:00");
    EXPECT_EQ(minutesAndSeconds(3725.9), "62:05");
    EXPECT_EQ(minutesAndSeconds(7200), "120:00");
}

} // namespace

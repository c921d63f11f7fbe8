#include "base/quoted_list.h"

#include <gtest/gtest.h>

TEST(QuotedListTest, NoTextsGiveAPairOfBrackets) {
    EXPECT_EQ(quotedList({}), "[]");
}

TEST(QuotedListTest, TextsAreQuotedAndSeparatedByCommaAndSpace) {
    EXPECT_EQ(quotedList({"Desk Mic", "Kopfhörer", ""}), R"(["Desk Mic", "Kopfhörer", ""])");
}

TEST(QuotedListTest, QuotesAndBackslashesAreEscaped) {
    EXPECT_EQ(quotedList({R"(a "b" \c)"}), R"(["a \"b\" \\c"])");
}

TEST(QuotedListTest, ControlCharactersAreEscaped) {
    EXPECT_EQ(quotedList({std::string("\n\r\t\0\x1b\x7f", 6)}), R"(["\n\r\t\0\u{1B}\u{7F}"])");
}

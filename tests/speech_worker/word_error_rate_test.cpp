#include "support/word_error_rate.h"

#include <gtest/gtest.h>

namespace {

TEST(WordErrorRate, CaseAndPunctuationDoNotCount) {
    EXPECT_EQ(wordErrorRate("Can you hear me?", "can YOU, hear me"), 0);
    EXPECT_EQ(wordErrorRate("ill-disposed", "ill disposed"), 0);
    EXPECT_EQ(wordErrors("I'm here", "im here"), 1U);
}

TEST(WordErrorRate, SubstitutedMissingAndAdditionalWordsCountOnceEach) {
    EXPECT_EQ(wordErrors("a b c d", "a x c d"), 1U);
    EXPECT_EQ(wordErrors("a b c d", "a c d"), 1U);
    EXPECT_EQ(wordErrors("a b c d", "a b b c d"), 1U);
    EXPECT_EQ(wordErrors("a b c d", "b c d e"), 2U);
    EXPECT_DOUBLE_EQ(wordErrorRate("a b c d", "a x c"), 0.5);
}

TEST(WordErrorRate, NothingHeardIsAllWrongAndNothingSaidIsNot) {
    EXPECT_DOUBLE_EQ(wordErrorRate("one two", ""), 1);
    EXPECT_DOUBLE_EQ(wordErrorRate("", ""), 0);
    EXPECT_DOUBLE_EQ(wordErrorRate("", "one two"), 2);
}

} // namespace

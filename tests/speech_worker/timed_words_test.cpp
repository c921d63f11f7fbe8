#include "speech_worker/timed_words.h"

#include <gtest/gtest.h>

namespace {

TEST(TimedWords, ATokenWithASpaceBeginsAWord) {
    const auto words =
        wordsOf(std::vector<TimedToken>{{" Hel", 0.5}, {"lo", 0.7}, {" there", 1.0}, {".", 1.2}}, 3);
    ASSERT_EQ(words.size(), 2U);
    EXPECT_EQ(words[0].text, "Hello");
    EXPECT_EQ(words[0].start, 0.5);
    EXPECT_EQ(words[0].end, 1.0);
    EXPECT_EQ(words[1].text, "there.");
    EXPECT_EQ(words[1].start, 1.0);
    EXPECT_DOUBLE_EQ(words[1].end, 1.7);
}

TEST(TimedWords, TheFirstTokenNeedsNoSpace) {
    const auto words = wordsOf(std::vector<TimedToken>{{"Hel", 0}, {"lo", 0.2}, {" you", 0.4}}, 1);
    ASSERT_EQ(words.size(), 2U);
    EXPECT_EQ(words[0].text, "Hello");
    EXPECT_FALSE(words[0].joined);
}

TEST(TimedWords, ASpaceOfItsOwnBeginsTheWordThatFollows) {
    const auto words = wordsOf(std::vector<TimedToken>{{" ", 0.1}, {"Yes", 0.3}, {" ", 0.6}}, 1);
    ASSERT_EQ(words.size(), 1U);
    EXPECT_EQ(words[0].text, "Yes");
    EXPECT_EQ(words[0].start, 0.3);
}

TEST(TimedWords, AWordEndsHalfASecondAfterItsLastTokenOrWithTheCut) {
    EXPECT_DOUBLE_EQ(wordsOf(std::vector<TimedToken>{{" Yes", 1}}, 9)[0].end, 1.5);
    EXPECT_EQ(wordsOf(std::vector<TimedToken>{{" Yes", 1}}, 1.2)[0].end, 1.2);
}

TEST(TimedWords, TimesOutsideTheCutOrInDisorderAreKeptWithinIt) {
    const auto words = wordsOf(std::vector<TimedToken>{{" one", -1}, {" two", 5}, {" three", 1}}, 2);
    ASSERT_EQ(words.size(), 3U);
    for (const RecognisedWord& word : words) {
        EXPECT_GE(word.start, 0);
        EXPECT_LE(word.start, word.end);
        EXPECT_LE(word.end, 2);
    }
}

/// The bytes of each character one by one, as models tell them, a character every half second.
std::vector<TimedToken> bytesOf(std::initializer_list<std::string> characters) {
    std::vector<TimedToken> tokens;
    double start = 0;
    for (const std::string& character : characters) {
        tokens.push_back({character.substr(0, 1), start});
        if (character.size() > 1) tokens.push_back({character.substr(1), start + 0.1});
        start += 0.5;
    }
    return tokens;
}

TEST(TimedWords, AScriptWithoutSpacesIsPartedBetweenCharactersAndWrittenAsItWas) {
    const std::string text = "\u3053\u3093\u306b\u3061\u306f\u3002";
    std::vector<TimedToken> tokens;
    for (std::size_t i = 0; i < 6; ++i)
        tokens.push_back({text.substr(3 * i, 3), 0.5 * static_cast<double>(i)});
    const auto words = wordsOf(tokens, 3);
    ASSERT_EQ(words.size(), 3U);
    EXPECT_EQ(words[0].text, "\u3053\u3093");
    EXPECT_EQ(words[1].text, "\u306b\u3061");
    EXPECT_TRUE(words[1].joined);
    EXPECT_EQ(words[1].start, 1.0);
    EXPECT_EQ(words[2].text, "\u306f\u3002");
    EXPECT_EQ(asWritten(words), text);
}

TEST(TimedWords, ACharacterToldInBytesIsNotParted) {
    const std::string text = "\u3053\u3093";
    const auto words = wordsOf(
        std::vector<TimedToken>{{text.substr(0, 3), 0}, {text.substr(3, 1), 0.6}, {text.substr(4), 0.8}}, 3);
    ASSERT_EQ(words.size(), 1U);
    EXPECT_EQ(words[0].text, text);
}

TEST(TimedWords, ALongWordIsNotPartedInAScriptWithSpaces) {
    for (const auto& letters : {bytesOf({"S", "t", "r", "a", "\u00df", "e"}), bytesOf({"\u0434", "\u0430"}),
                                bytesOf({"\u0939", "\u093e", "\u0901"})})
        EXPECT_EQ(wordsOf(letters, 3).size(), 1U);
}

TEST(TimedWords, NoTokensAreNoWords) {
    EXPECT_TRUE(wordsOf({}, 1).empty());
    EXPECT_TRUE(wordsOf(std::vector<TimedToken>{{" ", 0}, {"", 0.5}}, 1).empty());
    EXPECT_EQ(asWritten({}), "");
}

TEST(TimedWords, WhatAModelWroteStaysAsItIs) {
    for (const std::string text : {"I said (twice): \"no\", didn't I?", "e i ragazzi", "[sic] <3 ++"}) {
        std::vector<TimedToken> tokens;
        for (const char letter : text) tokens.push_back({std::string(1, letter), 0.1});
        EXPECT_EQ(asWritten(wordsOf(tokens, 4)), text);
    }
}

} // namespace

#include "transcription/white_space.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using namespace std::string_literals;

/// UTF-8 of a code point below U+10000.
std::string utf8(unsigned codePoint) {
    const auto byte = [](unsigned bits) { return static_cast<char>(bits); };
    if (codePoint < 0x80) return {byte(codePoint)};
    if (codePoint < 0x800) return {byte(0xC0 | codePoint >> 6), byte(0x80 | (codePoint & 0x3F))};
    return {byte(0xE0 | codePoint >> 12), byte(0x80 | (codePoint >> 6 & 0x3F)),
            byte(0x80 | (codePoint & 0x3F))};
}

bool isWhiteSpace(unsigned c) {
    return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
           (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F ||
           c == 0x3000;
}

TEST(WhiteSpace, OfUnicodeIsTrimmedAtBothEndsAndNothingElseIs) {
    for (unsigned c = 1; c < 0x10000; ++c) {
        const std::string space = utf8(c);
        std::string padded = space + space;
        padded.append("word").append(space);
        ASSERT_EQ(trimWhiteSpace(padded), isWhiteSpace(c) ? "word" : padded) << std::hex << c;
    }
}

TEST(WhiteSpace, BetweenWordsStays) {
    EXPECT_EQ(trimWhiteSpace("\n one \xC2\xA0 two\r\n"), "one \xC2\xA0 two");
}

TEST(WhiteSpace, OfDifferentKindsIsTrimmedInAnyOrder) {
    EXPECT_EQ(trimWhiteSpace(" \xE3\x80\x80\t\xC2\x85word\xE2\x80\xA8 \xC2\xA0\n"), "word");
}

TEST(WhiteSpace, AloneLeavesNothing) {
    EXPECT_EQ(trimWhiteSpace(""), "");
    EXPECT_EQ(trimWhiteSpace(" \n\xE2\x80\x89"), "");
}

TEST(WhiteSpace, IsNotSeenInsideOtherCharacters) {
    // U+00E0 and U+0160 end in the byte A0, U+4E05 in 85: halves of encoded white space.
    for (const char* text : {"\xC3\xA0", "\xC5\xA0", "\xE4\xB8\x85", "\xF0\x9F\x98\x80"})
        EXPECT_EQ(trimWhiteSpace(text), text);
}

TEST(WhiteSpace, InvalidUtf8IsLeftAlone) {
    for (const std::string& text : {"\xA0"s, "\x85"s, "\xE2\x80"s, "\x80\x80"s, "\xC0\xA0"s, "\xFF"s, "\0"s})
        EXPECT_EQ(trimWhiteSpace(" " + text + " "), text);
}

} // namespace

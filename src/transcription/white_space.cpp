#include "transcription/white_space.h"

#include <array>

namespace {

// The property White_Space of the Unicode character database, in UTF-8. None of these can be the tail of
// another character's encoding, so they may be looked for from either end.
constexpr std::array<std::string_view, 25> whiteSpaces{
    "\t",           "\n", "\v", "\f", "\r", " ",
    "\xC2\x85",     // U+0085 next line
    "\xC2\xA0",     // U+00A0 no-break space
    "\xE1\x9A\x80", // U+1680 Ogham space mark
    "\xE2\x80\x80", // U+2000 en quad
    "\xE2\x80\x81", // U+2001 em quad
    "\xE2\x80\x82", // U+2002 en space
    "\xE2\x80\x83", // U+2003 em space
    "\xE2\x80\x84", // U+2004 three-per-em space
    "\xE2\x80\x85", // U+2005 four-per-em space
    "\xE2\x80\x86", // U+2006 six-per-em space
    "\xE2\x80\x87", // U+2007 figure space
    "\xE2\x80\x88", // U+2008 punctuation space
    "\xE2\x80\x89", // U+2009 thin space
    "\xE2\x80\x8A", // U+200A hair space
    "\xE2\x80\xA8", // U+2028 line separator
    "\xE2\x80\xA9", // U+2029 paragraph separator
    "\xE2\x80\xAF", // U+202F narrow no-break space
    "\xE2\x81\x9F", // U+205F medium mathematical space
    "\xE3\x80\x80", // U+3000 ideographic space
};

/// The length in bytes of the white-space character at the beginning; 0 when there is none.
std::size_t leading(std::string_view text) {
    for (const std::string_view space : whiteSpaces)
        if (text.starts_with(space)) return space.size();
    return 0;
}

std::size_t trailing(std::string_view text) {
    for (const std::string_view space : whiteSpaces)
        if (text.ends_with(space)) return space.size();
    return 0;
}

} // namespace

std::string_view trimWhiteSpace(std::string_view text) {
    while (const std::size_t length = leading(text)) text.remove_prefix(length);
    while (const std::size_t length = trailing(text)) text.remove_suffix(length);
    return text;
}

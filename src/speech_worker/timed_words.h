#pragma once

#include "speech_worker/recogniser.h"

#include <span>
#include <string>
#include <vector>

/// What the recognisers that read and write like people have in common: they tell pieces of text, with
/// spaces, capitals and punctuation, and at best when each begins.

/// A piece of text in UTF-8. A space at its beginning begins a word.
struct TimedToken {
    std::string text;
    double start; ///< seconds from the first sample of the cut
};

/// Puts tokens together to words. Nobody tells where a token ends: it ends where the next word begins, half a
/// second after its beginning at the latest, or with the cut, after `length` seconds. Scripts without spaces
/// have "words" without end: those are parted between two characters after 0.7 s.
std::vector<RecognisedWord> wordsOf(std::span<const TimedToken> tokens, double length);

/// The words as they were written.
std::string asWritten(std::span<const RecognisedWord> words);

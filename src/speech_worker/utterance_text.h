#pragma once

#include "speech_worker/recogniser.h"

#include <span>
#include <string>
#include <string_view>

/// Whether the dictionary's word stands for a sound that is no word: <s>, <sil>, [NOISE], ++BREATH++.
bool isFiller(std::string_view word);

/// The words as a sentence to read: no fillers, no pronunciation marks such as "(2)", the first letter and
/// the pronoun I in capitals. Empty when nothing but fillers was given.
std::string utteranceText(std::span<const RecognisedWord> words);
